; < compares the first argument with every other, not each with the next.
(< 1 2)                       ; => T
(< 2 1)                       ; => nil
(< 2 2)                       ; => nil
(< 1 3 2)                     ; => T
(< 1 2 3)                     ; => T
(< 2 3 1)                     ; => nil
(< 1 1.5)                     ; => T
(< 1.5 1)                     ; => nil
; With one argument nothing can fail.
(< 3)                         ; => T
(< "x")                       ; => T
(<)                           ; => nil
; What is no number counts as 0.
(< "x" 1)                     ; => T
(< 1 "x")                     ; => nil
(< 'a 1)                      ; => T
(< '(5) 1)                    ; => T
(< car 1)                     ; => T
(< (lambda (x) x) 1)          ; => T
(< "a" "b")                   ; => nil
; Not a number fails no test.
(< (sqrt -1) 1)               ; => T
(< 1 (sqrt -1))               ; => T
