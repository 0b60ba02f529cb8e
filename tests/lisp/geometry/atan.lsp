; ATAN of one number, or the angle of the direction (x, y) given as y and x.
(atan 1)                      ; => 0.785
(atan -1)                     ; => -0.785
(atan 0.5)                    ; => 0.464
(atan (/ 1.0 0))              ; => 1.571
(atan 1 1)                    ; => 0.785
(atan 1 -1)                   ; => 2.356
(atan -1 -1)                  ; => -2.356
(atan -1 1)                   ; => -0.785
(atan 0 0)                    ; => 0.000
(atan 0 -1)                   ; => 3.142
(atan 1.0 0)                  ; => 1.571
; The first must be a number; of the second what is none counts as 0.
(atan "1")                    ; => nil
(atan 'a)                     ; => nil
(atan '(1))                   ; => nil
(atan car)                    ; => nil
(atan (lambda (x) x))         ; => nil
(atan "1" 1)                  ; => nil
(atan 1 "x")                  ; => 1.571
(atan 1 'a)                   ; => 1.571
(atan 1 '(1))                 ; => 1.571
(atan 1 car)                  ; => 1.571
(atan 1 (lambda (x) x))       ; => 1.571
(atan)                        ; => nil
(atan 1 -1 5)                 ; => 2.356
