; NULLP is true of whatever has no elements: the empty list and every atom.
(nullp '())                   ; => T
(nullp (car '()))             ; => T
(nullp 0)                     ; => T
(nullp 5)                     ; => T
(nullp 1.5)                   ; => T
(nullp "x")                   ; => T
(nullp "")                    ; => T
(nullp 'a)                    ; => T
(nullp T)                     ; => T
(nullp car)                   ; => T
(nullp '(1))                  ; => nil
(nullp '(()))                 ; => nil
(nullp (cons 1 2))            ; => nil
(nullp (lambda (x) x))        ; => nil
; Too few and too many.
(nullp)                       ; => nil
(nullp '() '(1))              ; => T
