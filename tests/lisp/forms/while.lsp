; WHILE evaluates its forms as long as the test is true; its value is nil.
(setq i 0)                    ; => 0
(while (< i 3) (setq i (+ i 1))) ; => nil
i                             ; => 3
(while (< 2 1) (setq i 9))    ; => nil
i                             ; => 3
(setq log '())                ; => ()
(while (< i 5) (setq log (cons i log)) (setq i (+ i 1))) ; => nil
log                           ; => (4 3)
; The test is evaluated again after every round, the last time included.
(setq tests 0)                ; => 0
(while (begin (setq tests (+ tests 1)) (< tests 3))) ; => nil
tests                         ; => 3
(while (car '()))             ; => nil
(while)                       ; => nil
