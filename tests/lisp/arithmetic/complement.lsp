; ~ turns every bit of an integer round.
(~ 0)                         ; => -1
(~ 5)                         ; => -6
(~ -1)                        ; => 0
(~ 2147483647)                ; => -2147483648
(~ -2147483648)               ; => 2147483647
(~ (~ 12345))                 ; => 12345
; An integer, or nil.
(~ 1.0)                       ; => nil
(~ 'a)                        ; => nil
(~ "1")                       ; => nil
(~ '(1))                      ; => nil
(~ car)                       ; => nil
(~ (lambda (x) x))            ; => nil
; Too few and too many.
(~)                           ; => nil
(~ 5 "x")                     ; => -6
(~ "x" 5)                     ; => nil
