; Locals begin as the integer 0 whose text is "0", at each call anew.
(defun f (x / a b) (list x a b (if a "true" "false") (strcat a)))  ; => F
(f 5)                                                         ; => (5 0 0 "true" "0")
(defun f (/ n) (repeat 3 (setq n (+ n 2))) n)                 ; => F
(f)                                                           ; => 6
(f 1 2 3)                                                     ; => 6
