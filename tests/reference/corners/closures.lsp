; Closures share the scope that they were made in, and change it.
(defun make (n) (lambda () (setq n (+ n 1))))                 ; => MAKE
(setq f (make 0) g (make 10))                                 ; =>
(list (f) (f) (g) (f))                                        ; => (1 2 11 3)
(defun pair (n) (list (lambda (v) (setq n v)) (lambda () n)))  ; => PAIR
(setq p (pair 5))                                             ; => ( )
((car p) 7)                                                   ; => 7
((cadr p))                                                    ; => 7
(setq q (pair 1))                                             ; => ( )
(list ((cadr p)) ((cadr q)))                                  ; => (7 1)
(defun late () (setq k (lambda () w)) (define w 3) k)         ; => LATE
((late))                                                      ; => 3
w                                                             ; error: ;error; undefined symbol 'W'
(k)                                                           ; => 3
