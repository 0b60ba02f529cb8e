; NOT is true of what is false.
(not T)                       ; => nil
(not (car '()))               ; => T
(not (not T))                 ; => T
(not 0)                       ; => nil
(not 0.0)                     ; => nil
(not "")                      ; => nil
(not '())                     ; => nil
(not ())                      ; => T
(not "nil")                   ; => T
(not car)                     ; => nil
(not)                         ; => nil
; Only the first element is evaluated.
(not T zzz)                   ; => nil
(not (car '()) zzz)           ; => T
