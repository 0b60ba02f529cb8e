; COS of an angle in radians.
(cos 0)                       ; => 1.000
(cos 1)                       ; => 0.540
(cos pi)                      ; => -1.000
(cos (/ pi 3))                ; => 0.500
(cos (/ 1.0 0))               ; => nan
(cos "0")                     ; => nil
(cos 'a)                      ; => nil
(cos '(0))                    ; => nil
(cos car)                     ; => nil
(cos (lambda (x) x))          ; => nil
(cos)                         ; => nil
(cos 0 1)                     ; => 1.000
