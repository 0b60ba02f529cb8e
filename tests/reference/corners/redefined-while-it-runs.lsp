; A function that redefines itself goes on as it was.
(defun f (n) (defun f (x) (list 'new x)) (list 'old n (f n)))  ; => F
(f 1)                                                         ; => (OLD 1 (NEW 1))
(f 2)                                                         ; => (OLD 2 (NEW 2))
(defun f (n) (setq f (lambda (x) (* x x))) (f n))             ; => F
(f 3)                                                         ; => 9
(f 4)                                                         ; => 16
(defun g (n) (setq g 5) (g 1 2))                              ; => G
(g 1)                                                         ; => 5
(g 1)                                                         ; => 5
