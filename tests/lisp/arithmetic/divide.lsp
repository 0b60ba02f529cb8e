; / divides the first argument by each of the others; without a real it truncates toward zero.
(/ 7 2)                       ; => 3
(/ -7 2)                      ; => -3
(/ 7 -2)                      ; => -3
(/ 7 2.0)                     ; => 3.500
(/ 7.0 2)                     ; => 3.500
; The quotient is truncated once, at the end.
(/ 7 2 3)                     ; => 1
(/ 1 3 0.5)                   ; => 0.667
(/ 100 5 2)                   ; => 10
; One argument is its own result, not its reciprocal.
(/ 4)                         ; => 4
(/ 4.0)                       ; => 4.000
; Division by zero: the least integer, or infinity, or not a number.
(/ 1 0)                       ; => -2147483648
(/ -1 0)                      ; => -2147483648
(/ 0 0)                       ; => -2147483648
(/ 1.0 0)                     ; => inf
(/ -1.0 0)                    ; => -inf
(/ 1 0.0)                     ; => inf
(/ 1 0 2.0)                   ; => inf
(/ 0 0.0)                     ; => nan
(/ -2147483648 -1)            ; => -2147483648
; What is no number counts as 0.
(/ "a" 5)                     ; => 0
(/ 5 "a")                     ; => -2147483648
(/ 5.0 "a")                   ; => inf
(/ 'a 5)                      ; => 0
(/ '(5) 5)                    ; => 0
(/ car 5)                     ; => 0
(/ (lambda (x) x) 5)          ; => 0
(/)                           ; => nil
