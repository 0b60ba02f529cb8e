; DISTANCE in the plane.
(distance '(0 0) '(3 4))      ; => 5.000
(distance '(3 4) '(0 0))      ; => 5.000
(distance '(1.5 1) '(1.5 1))  ; => 0.000
; Z is ignored.
(distance '(0 0 5) '(3 4 9))  ; => 5.000
; What is missing or no number counts as 0.
(distance '() '(3 4))         ; => 5.000
(distance '(0) '(3))          ; => 3.000
(distance '("a" b) '(3 4))    ; => 5.000
(distance 5 '(1 1))           ; => nil
(distance 1.5 '(1 1))         ; => nil
(distance 'a '(1 1))          ; => nil
(distance "0 0" '(1 1))       ; => nil
(distance car '(1 1))         ; => nil
(distance (lambda (x) x) '(1 1)) ; => nil
(distance '(1 1) 5)           ; => nil
(distance '(1 1) 1.5)         ; => nil
(distance '(1 1) 'a)          ; => nil
(distance '(1 1) "0 0")       ; => nil
(distance '(1 1) car)         ; => nil
(distance '(1 1) (lambda (x) x)) ; => nil
; Too few and too many.
(distance)                    ; => nil
(distance '(0 0))             ; => nil
(distance '(0 0) '(3 4) '(9 9)) ; => 5.000
