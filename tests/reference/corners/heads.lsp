; Values of every type at the head of a form.
(5 (setq a 1))                    ; => 5
a                                 ; => 1
("a" 1)                           ; => "a"
(2.5)                             ; => 2.500
(() 1)                            ; error: ;error; not a function!
('car '(1))                       ; error: ;error; not a function!
((quote (1 2)) 3)                 ; error: ;error; not a function!
((lambda (x) (list x)) 1)         ; => (1)
((if t car cdr) '(1 2))           ; => 1
(setq l '(1 2))                   ; => (1 2)
(l 0)                             ; error: ;error; not a function!
((car (list cdr)) l)              ; => (2)
((list car) l)                    ; error: ;error; not a function!
(t 1)                             ; error: ;error; not a function!
(begin ((entlast) (setq a 2)) a)  ; => 2
a                                 ; => 2
((ssget "X"))                     ; => <Selection set: 3>
