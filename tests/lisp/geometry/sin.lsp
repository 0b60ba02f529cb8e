; SIN of an angle in radians.
(sin 0)                       ; => 0.000
(sin 1)                       ; => 0.841
(sin (/ pi 2))                ; => 1.000
(sin (/ pi -6))               ; => -0.500
(sin (/ 1.0 0))               ; => nan
(sin "0")                     ; => nil
(sin 'a)                      ; => nil
(sin '(0))                    ; => nil
(sin car)                     ; => nil
(sin (lambda (x) x))          ; => nil
(sin)                         ; => nil
(sin 0 1)                     ; => 0.000
