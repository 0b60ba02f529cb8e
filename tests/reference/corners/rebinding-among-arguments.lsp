; The head has been evaluated before the arguments rebind it.
(+ (setq + 5) 1)        ; => 6
(+ 1 2)                 ; => 5
(car (setq car cdr))    ; => nil
(car '(1 2))            ; => (2)
(- 5 (setq - +) 1)      ; => -1
(- 3 4)                 ; => 5
(list (setq list 3) 2)  ; => (3 2)
(list 1 2)              ; => 3
