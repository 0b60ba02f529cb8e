; CADR is the second element, nil when there is none.
(cadr '(1 2 3))               ; => 2
(cadr '(1 (2)))               ; => (2)
(cadr '(1))                   ; => nil
(cadr '())                    ; => nil
; Of a dotted pair it is the mark, not the tail.
(cadr (cons 1 2))             ; => .
; An atom is a list without elements.
(cadr 'a)                     ; => nil
(cadr 5)                      ; => nil
(cadr 1.5)                    ; => nil
(cadr "abc")                  ; => nil
(cadr car)                    ; => nil
(cadr (lambda (x) x))         ; => (X)
; Too few and too many.
(cadr)                        ; => nil
(cadr '(1 2) '(3 4))          ; => 2
