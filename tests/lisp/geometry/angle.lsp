; ANGLE: the direction from one point to another, from -pi to pi.
(angle '(0 0) '(1 1))         ; => 0.785
(angle '(0 0) '(-1 1))        ; => 2.356
(angle '(0 0) '(-1 -1))       ; => -2.356
(angle '(0 0) '(1 -1))        ; => -0.785
(angle '(1 1) '(1 5))         ; => 1.571
(angle '(1 1) '(0 1))         ; => 3.142
(angle '(2 2) '(2 2))         ; => 0.000
(angle '(0 0 9) '(1.0 1.0 -9)) ; => 0.785
; What is missing or no number counts as 0.
(angle '() '())               ; => 0.000
(angle '(5) '(6))             ; => 0.000
(angle '("a" b) '(1 1))       ; => 0.785
; Both must be lists.
(angle 5 '(1 1))              ; => nil
(angle 1.5 '(1 1))            ; => nil
(angle 'a '(1 1))             ; => nil
(angle "0 0" '(1 1))          ; => nil
(angle car '(1 1))            ; => nil
(angle (lambda (x) x) '(1 1)) ; => nil
(angle '(1 1) 5)              ; => nil
(angle '(1 1) 1.5)            ; => nil
(angle '(1 1) 'a)             ; => nil
(angle '(1 1) "0 0")          ; => nil
(angle '(1 1) car)            ; => nil
(angle '(1 1) (lambda (x) x)) ; => nil
; Too few and too many.
(angle)                       ; => nil
(angle '(0 0))                ; => nil
(angle '(0 0) '(1 1) 5)       ; => 0.785
