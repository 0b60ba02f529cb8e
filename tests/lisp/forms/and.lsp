; AND is true when all its elements are.
(and T 1 "x")                 ; => T
(and T (car '()) T)           ; => nil
(and (car '()) T)             ; => nil
(and T (car '()))             ; => nil
(and 0 "" '())                ; => T
(and "nil")                   ; => nil
(and T "nil")                 ; => nil
(and 5)                       ; => T
(and)                         ; => nil
; All are evaluated; nothing is cut short.
(setq n 0)                    ; => 0
(and (car '()) (setq n (+ n 1)) (car '()) (setq n (+ n 1))) ; => nil
n                             ; => 2
(and T nil T)                 ; error: ;error; undefined symbol 'NIL'
