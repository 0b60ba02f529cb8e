; What stands at the head of a form decides.
(+ 1 2)                       ; => 3
(1 2 3)                       ; => 1
("a" 1)                       ; => "a"
(1.5)                         ; => 1.500
(pi 1)                        ; => 3.142
((1 2) 3)                     ; => 1
; Arguments are evaluated even when the head wants none.
(5 (princ "x"))               ; shows: x  ; => 5
((quote (1 2)) 3)             ; error: ;error; not a function!
(T 1)                         ; error: ;error; not a function!
((car '()) 1)                 ; error: ;error; not a function!
('a 1)                        ; error: ;error; not a function!
((T 1) 2)                     ; error: ;error; not a function!
; An unbound head: nothing more is evaluated.
(zzz)                         ; error: ;error; undefined symbol 'ZZZ'
(zzz (princ "x"))             ; error: ;error; undefined symbol 'ZZZ'
; A second unbound name overwrites the message of the first.
(list zzz yyy)                ; error: ;error; undefined symbol 'YYY'
; Under an error bound names are nil too, and no function is reached.
(setq a 1)                    ; => 1
(list zzz a)                  ; error: ;error; undefined symbol 'ZZZ'
(list zzz (princ a))          ; error: ;error; undefined symbol 'ZZZ'
; Arguments are evaluated from left to right.
(list (princ "1") (princ "2") (princ "3")) ; shows: 1  ; shows: 2  ; shows: 3  ; => ("1" "2" "3")
; An empty form is nil.
()                            ; => nil
; Special forms cannot be redefined, but their names can be bound.
if                            ; error: ;error; undefined symbol 'IF'
(setq if 5)                   ; => 5
if                            ; => 5
(if T 1 2)                    ; => 1
((lambda (setq) (begin (setq a setq) a)) 3) ; => 3
; A special form is no function to be handed over.
(setq form 'quote)            ; => QUOTE
(form a)                      ; error: ;error; not a function!
