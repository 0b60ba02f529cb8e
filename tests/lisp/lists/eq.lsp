; EQ compares as EQUAL does: by value, not by identity.
(eq 1 1.0)                    ; => T
(eq 1 2)                      ; => nil
(eq "a" "a")                  ; => T
(eq "a" "A")                  ; => nil
(eq 'a "A")                   ; => T
(eq 0 "x")                    ; => T
(eq "x" 0)                    ; => nil
(eq '(1 (2 "a")) '(1 (2 "a"))) ; => T
(eq '(1 2) '(1 2 3))          ; => nil
(eq '() 5)                    ; => T
(eq car cdr)                  ; => T
(eq 1.5 1.5)                  ; => T
(eq (lambda (x) x) "")        ; => T
(eq)                          ; => nil
(eq 1)                        ; => nil
(eq 1 1 2)                    ; => T
