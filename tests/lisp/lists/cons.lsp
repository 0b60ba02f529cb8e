; CONS puts an element in front of a list, or makes a dotted pair of an atom.
(cons 1 '(2 3))               ; => (1 2 3)
(cons '(1) '(2 3))            ; => ((1) 2 3)
(cons 1 2)                    ; => (1 . 2)
(length (cons 1 2))           ; => 3
; In front of a pair stands just another element.
(cons 0 (cons 1 2))           ; => (0 1 . 2)
; A one-element list takes an empty list.
(cons 1 '())                  ; => (1)
(cons '() '())                ; => (())
; The type of the second argument alone decides: nil is a symbol, so this is a pair.
(cons 1 (car '()))            ; => (1 . nil)
(cons 1 (not T))              ; => (1 . nil)
(cons 1 ())                   ; => (1 . nil)
(cons 1 nil)                  ; error: ;error; undefined symbol 'NIL'
(cons 1 'a)                   ; => (1 . A)
(cons 1 1.5)                  ; => (1 . 1.500)
(cons 1 "x")                  ; => (1 . "x")
(cons 1 car)                  ; => (1 . <Proc>)
(defun f (x) x)               ; => F
; A function has elements but is no list.
(cons 1 f)                    ; => (1 . F)
(cons 'a '(1))                ; => (A 1)
(cons 1.5 '(1))               ; => (1.500 1)
(cons "x" '(1))               ; => ("x" 1)
(cons car '(1))               ; => (<Proc> 1)
(cons f '(1))                 ; => (F 1)
; Too few, and more than two.
(cons)                        ; => nil
(cons 1)                      ; => nil
(cons 1 '(2) '(3))            ; => (1 2)
; The list that was put behind stays as it was.
(setq tail '(2 3))            ; => (2 3)
(setq one (cons 1 tail))      ; => (1 2 3)
(setq other (cons 9 tail))    ; => (9 2 3)
(list tail one other)         ; => ((2 3) (1 2 3) (9 2 3))
