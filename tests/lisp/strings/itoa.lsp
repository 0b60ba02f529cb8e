; ITOA writes exactly one integer.
(itoa 0)                      ; => "0"
(itoa 42)                     ; => "42"
(itoa -12)                    ; => "-12"
(itoa 2147483647)             ; => "2147483647"
(itoa -2147483648)            ; => "-2147483648"
(itoa 1.5)                    ; => nil
(itoa 1.0)                    ; => nil
(itoa "1")                    ; => nil
(itoa 'a)                     ; => nil
(itoa '(1))                   ; => nil
(itoa car)                    ; => nil
(itoa (lambda (x) x))         ; => nil
; Too few and too many.
(itoa)                        ; => nil
(itoa 1 2)                    ; => nil
