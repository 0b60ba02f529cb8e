; <= compares the first argument with every other, not each with the next.
(<= 1 2)                      ; => T
(<= 2 2)                      ; => T
(<= 2 1)                      ; => nil
(<= 2 2 3)                    ; => T
(<= 2 3 1)                    ; => nil
(<= 1 3 2)                    ; => T
(<= 2 2.0)                    ; => T
(<= 2.1 2)                    ; => nil
; With one argument nothing can fail.
(<= 3)                        ; => T
(<= "x")                      ; => T
(<=)                          ; => nil
; What is no number counts as 0.
(<= "x" 0)                    ; => T
(<= 1 "x")                    ; => nil
(<= 'a 0)                     ; => T
(<= '(5) 0)                   ; => T
(<= car 0)                    ; => T
(<= (lambda (x) x) 0)         ; => T
(<= "b" "a")                  ; => T
; Not a number fails no test.
(<= (sqrt -1) 1)              ; => T
(<= 1 (sqrt -1))              ; => T
