; The "/" of a parameter list is found in its printed text.
(defun f (x /) (list x))          ; => F
(f 1)                             ; => (1)
(defun f (/) 7)                   ; => F
(f 1)                             ; => 7
(defun f (x / y / z) (list x y))  ; => F
(f 1)                             ; => (1 0)
z                                 ; error: ;error; undefined symbol 'Z'
(defun f (x/y) x/y)               ; => F
(f 3)                             ; error: ;error; undefined symbol 'X/Y'
(defun f x (list x))              ; => F
(f 4)                             ; => (4)
