; - takes every other argument from the first; one argument is its own result.
(- 10 1 2)                    ; => 7
(- 10 1.5)                    ; => 8.500
(- 1.5 1.5)                   ; => 0.000
; Neither negated ...
(- 10)                        ; => 10
(- 5)                         ; => 5
(- 5.5)                       ; => 5.500
; ... nor changed when it is no number: it counts as 0.
(- "a")                       ; => 0
(- -2147483648 1)             ; => -2147483648
(- -2147483647 1)             ; => -2147483648
(- 2147483647 -1)             ; => -2147483648
(- 0 -2147483648)             ; => -2147483648
(- "abc" 2)                   ; => -2
(- 2 "abc")                   ; => 2
(- 'a 2)                      ; => -2
(- '(5) 2)                    ; => -2
(- car 2)                     ; => -2
(- (lambda (x) x) 2)          ; => -2
(-)                           ; => nil
