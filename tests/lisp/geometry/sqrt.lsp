; SQRT of a number.
(sqrt 4)                      ; => 2.000
(sqrt 2.25)                   ; => 1.500
(sqrt 0)                      ; => 0.000
(* 1000000 (sqrt 2))          ; => 1414213.562
; No error and no nil below zero: not a number.
(sqrt -1)                     ; => nan
(sqrt -1.5)                   ; => nan
(sqrt (/ 1.0 0))              ; => inf
(sqrt "4")                    ; => nil
(sqrt 'a)                     ; => nil
(sqrt '(4))                   ; => nil
(sqrt car)                    ; => nil
(sqrt (lambda (x) x))         ; => nil
(sqrt)                        ; => nil
(sqrt 4 "x")                  ; => 2.000
