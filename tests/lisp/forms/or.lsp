; OR follows its first element alone.
(or T (car '()))              ; => T
(or (car '()) T)              ; => nil
(or (car '()) (car '()) T)    ; => nil
(or (car '()))                ; => nil
(or 5)                        ; => T
(or 0 (car '()))              ; => T
(or "nil" T)                  ; => nil
(or)                          ; => nil
; The others are evaluated for their effects, all of them.
(setq n 0)                    ; => 0
(or T (setq n (+ n 1)) (setq n (+ n 1))) ; => T
(or (car '()) (setq n (+ n 1))) ; => nil
n                             ; => 3
(or nil T)                    ; error: ;error; undefined symbol 'NIL'
(or T nil)                    ; error: ;error; undefined symbol 'NIL'
