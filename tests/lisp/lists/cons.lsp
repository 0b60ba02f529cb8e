; CONS puts an element in front of a list, or makes a dotted pair of an atom.
(cons 1 '(2 3))   ; => (1 2 3)
(cons 1 2)        ; => (1 . 2)
(cons 1 nil)      ; error: ;error; undefined symbol 'NIL'
