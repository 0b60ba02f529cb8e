; CDR is the list without its first element; the end of a list is nil, not an empty list.
(cdr '(1 2 3))                ; => (2 3)
(cdr '(1 2))                  ; => (2)
(cdr '(1))                    ; => nil
(listp (cdr '(1)))            ; => nil
(cdr '())                     ; => nil
(cdr '(1 (2 3)))              ; => ((2 3))
; The tail of a dotted pair is its second part.
(cdr (cons 1 2))              ; => 2
(cdr '(1 . 2))                ; => 2
(cdr '(1 . (2 3)))            ; => (2 3)
(cdr (cons 1 (car '())))      ; => nil
; The text of the middle element decides, whatever its type.
(cdr '(1 "." 3))              ; => 3
(cdr '(1 . 2 3))              ; => (. 2 3)
(cdr '(1 .))                  ; => (.)
(cdr '(. 2 3))                ; => (2 3)
(cdr '(0 1 . 2))              ; => (1 . 2)
(cdr (cdr '(0 1 . 2)))        ; => 2
; An atom is a list without elements.
(cdr 'a)                      ; => nil
(cdr 5)                       ; => nil
(cdr 1.5)                     ; => nil
(cdr "abc")                   ; => nil
(cdr cdr)                     ; => nil
; What is left of a function keeps its type and its name.
(defun f (x) x)               ; => F
(cdr f)                       ; => F
(listp (cdr f))               ; => nil
(length (cdr f))              ; => 2
(car (cdr f))                 ; => (X)
; Too few and too many.
(cdr)                         ; => nil
(cdr '(1 2) '(3 4))           ; => (2)
; The list itself stays as it was.
(setq a '(1 2 3))             ; => (1 2 3)
(setq b (cdr a))              ; => (2 3)
(list a b (cdr b))            ; => ((1 2 3) (2 3) (3))
