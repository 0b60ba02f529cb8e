; LIST makes a list of any values.
(list)                        ; => ()
(listp (list))                ; => T
(list 1)                      ; => (1)
(list 1 "a" 2.5)              ; => (1 "a" 2.500)
(list 'a '(1) car (car '()))  ; => (A (1) <Proc> nil)
(list (list) (list (list)))   ; => (() (()))
(list (+ 1 2) (* 2 3))        ; => (3 6)
; The mark of a dotted pair evaluates to itself, so a list with it in the middle is a pair.
(list 1 . 2)                  ; => (1 . 2)
(cdr (list 1 . 2))            ; => 2
