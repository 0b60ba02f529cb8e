; LENGTH counts elements; an atom has none.
(length '(1 2 3))             ; => 3
(length '((1 2) 3))           ; => 2
(length '())                  ; => 0
(length ())                   ; => 0
; The mark of a dotted pair is an element.
(length (cons 1 2))           ; => 3
(length 'a)                   ; => 0
(length 5)                    ; => 0
(length 1.5)                  ; => 0
(length "abc")                ; => 0
(length car)                  ; => 0
(length (lambda (x) x))       ; => 3
; Too few and too many.
(length)                      ; => nil
(length '(1) '(2 3))          ; => 1
