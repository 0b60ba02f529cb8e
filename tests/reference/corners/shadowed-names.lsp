; Parameters named like functions and constants hide them; special forms cannot be hidden.
(defun f (+ car) (+ car 1))             ; => F
(f (lambda (a b) (list a b)) 5)         ; => (5 1)
(f 5 5)                                 ; => 5
(defun f (t) (if t 1 2))                ; => F
(f (not t))                             ; => 2
(defun f (nil) (list nil nil))          ; => F
(f 3)                                   ; => (3 3)
(defun f (if quote) (if if quote 'no))  ; => F
(f 1 2)                                 ; => 2
(defun f (list) (list 1))               ; => F
(f list)                                ; => (1)
(f '(1))                                ; error: ;error; not a function!
