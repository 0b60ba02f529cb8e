; ATOI reads the integer at the front of exactly one text.
(atoi "42")                   ; => 42
(atoi "12abc")                ; => 12
(atoi "abc")                  ; => 0
(atoi "")                     ; => 0
(atoi " -7")                  ; => -7
(atoi "+7")                   ; => 7
(atoi "- 7")                  ; => 0
(atoi "--7")                  ; => 0
(atoi "+-7")                  ; => 0
(atoi "-")                    ; => 0
(atoi "007")                  ; => 7
(atoi "1.9")                  ; => 1
(atoi "1e5")                  ; => 1
(atoi "0x10")                 ; => 0
; What does not fit stops at the limits.
(atoi "2147483647")           ; => 2147483647
(atoi "2147483648")           ; => 2147483647
(atoi "-2147483648")          ; => -2147483648
(atoi "-2147483649")          ; => -2147483648
(atoi "99999999999999999999") ; => 2147483647
(atoi "-99999999999999999999") ; => -2147483648
(atoi 42)                     ; => nil
(atoi 4.2)                    ; => nil
(atoi 'a)                     ; => nil
(atoi '("1"))                 ; => nil
(atoi car)                    ; => nil
(atoi (lambda (x) x))         ; => nil
; Too few and too many.
(atoi)                        ; => nil
(atoi "1" "2")                ; => nil
