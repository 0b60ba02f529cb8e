; SETQ empties the error buffer behind each value.
(setq a (zzz))                        ; => nil
a                                     ; => nil
(setq a zzz b 2)                      ; => 2
b                                     ; => 2
(list zzz (setq a 1) a)               ; => (nil 1 1)
(begin (zzz) (princ 1) (setq a 2) a)  ; => 2
(begin (zzz) a)                       ; error: ;error; undefined symbol 'ZZZ'
(+ a zzz)                             ; error: ;error; undefined symbol 'ZZZ'
(list (zzz) a (quote b) 5)            ; error: ;error; undefined symbol 'ZZZ'
