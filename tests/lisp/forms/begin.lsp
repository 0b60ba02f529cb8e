; BEGIN evaluates its forms in order; its value is the last one.
(begin 1 2 3)                 ; => 3
(begin 1)                     ; => 1
(begin (princ "a") (princ "b") 5) ; shows: a  ; shows: b  ; => 5
(begin (setq a 1) (setq a (+ a 1)) a) ; => 2
; Alone it evaluates its own name, which is bound to nothing.
(begin)                       ; error: ;error; undefined symbol 'BEGIN'
