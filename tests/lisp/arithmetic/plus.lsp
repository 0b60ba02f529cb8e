; + adds in doubles; the sum is an integer unless a real is among the arguments.
(+ 1 2)                       ; => 3
(+ 1 2 3 4)                   ; => 10
(+ 1 2.0)                     ; => 3.000
(+ 1.0 2)                     ; => 3.000
(+ 1.5 -1.5)                  ; => 0.000
(+ 5)                         ; => 5
(+ 5.5)                       ; => 5.500
; What does not fit is the least integer, not a wrapped one.
(+ 2147483647 1)              ; => -2147483648
(+ 2147483646 1)              ; => 2147483647
(+ -2147483648 -1)            ; => -2147483648
(+ 2147483647 1 -1)           ; => 2147483647
(+ 2147483647 1.0)            ; => 2147483648.000
; What is no number counts as 0, and does not make a real.
(+ "abc" 2)                   ; => 2
(+ 2 "abc")                   ; => 2
(+ 'a 2)                      ; => 2
(+ '(1 2) 2)                  ; => 2
(+ car 2)                     ; => 2
(+ (lambda (x) x) 2)          ; => 2
(+ "7")                       ; => 0
(+ "a" 1.5)                   ; => 1.500
(+ (car '()) 1)               ; => 1
(+)                           ; => nil
