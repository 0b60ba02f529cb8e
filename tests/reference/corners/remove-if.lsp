; The predicate of VL-REMOVE-IF sees its parameter and global names.
(setq n 2)                                                    ; => 2
(defun big (x) (> x n))                                       ; => BIG
(vl-remove-if big '(1 2 3 4))                                 ; => (1 2)
(vl-remove-if 'big '(1 2 3 4))                                ; => nil
(vl-remove-if '(lambda (x) (> x n)) '(1 2 3 4))               ; => (1 2)
(defun f (n) (vl-remove-if '(lambda (x) (> x n)) '(1 2 3 4)))  ; => F
(f 3)                                                         ; => (1 2)
(defun f (n) (vl-remove-if (lambda (x) (> x n)) '(1 2 3 4)))  ; => F
(f 3)                                                         ; => (1 2)
(vl-remove-if '(lambda (x)) '(1 2))                           ; => nil
(vl-remove-if '(lambda (x) zzz) '(1 2))                       ; => (1 2)
(vl-remove-if '(lambda (x) (setq n x)) '(7 8))                ; => ()
n                                                             ; => 8
(vl-remove-if car '(1 2))                                     ; => nil
(vl-remove-if '(1 () (not t)) '(1 2))                         ; => (1 2)
