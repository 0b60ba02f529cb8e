; > compares the first argument with every other, not each with the next.
(> 2 1)                       ; => T
(> 1 2)                       ; => nil
(> 2 2)                       ; => nil
(> 5 1 3)                     ; => T
(> 5 3 1)                     ; => T
(> 5 1 7)                     ; => nil
(> 5 7 1)                     ; => nil
(> 1.5 1)                     ; => T
(> 1 1.5)                     ; => nil
; With one argument nothing can fail.
(> 3)                         ; => T
(> "x")                       ; => T
(>)                           ; => nil
; What is no number counts as 0.
(> 1 "x")                     ; => T
(> "x" 1)                     ; => nil
(> 0 "x")                     ; => nil
(> 1 'a)                      ; => T
(> 1 '(5))                    ; => T
(> 1 car)                     ; => T
(> 1 (lambda (x) x))          ; => T
(> "b" "a")                   ; => nil
; Not a number fails no test.
(> (sqrt -1) 1)               ; => T
(> 1 (sqrt -1))               ; => T
(> (/ 1.0 0) 2147483647)      ; => T
