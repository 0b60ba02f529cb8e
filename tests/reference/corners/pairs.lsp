; A pair is a list of three.
'(a . b)                ; => (A . B)
(cdr '(a . b))          ; => B
(length '(a . b))       ; => 3
(cdr '(a . (b c)))      ; => (B C)
(cons 1 2)              ; => (1 . 2)
(cons 1 nil)            ; error: ;error; undefined symbol 'NIL'
(cons 1 ())             ; => (1 . nil)
(cdr (cons 1 (not t)))  ; => nil
(cadr '(1 . 2))         ; => .
(reverse '(1 . 2))      ; => (2 . 1)
