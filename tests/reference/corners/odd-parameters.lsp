; What is no name in a parameter list: DEFUN reads it from the print, LAMBDA takes its text.
(defun f ("x" y) y)                          ; => F
(f 1 2)                                      ; => 2
(defun f (5 y) (+ y 5))                      ; => F
(f 1 2)                                      ; => 7
(defun f ((x) y) (list y))                   ; => F
(f 1 2)                                      ; error: ;error; undefined symbol 'Y'
(defun f nil (list nil))                     ; => F
(f 9)                                        ; => (9)
(defun f (x . y) (list x y .))               ; => F
(f 1 2 3)                                    ; => (1 3 2)
((lambda ("X" 5 (a) y) (list x y)) 1 2 3 4)  ; => (1 4)
((lambda x 5) 1)                             ; => 5
