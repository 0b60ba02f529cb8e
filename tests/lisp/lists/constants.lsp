; What is bound beside the functions.
T                             ; => T
t                             ; => T
(eq T 'T)                     ; => T
pi                            ; => 3.142
(* pi 1000000000)             ; => 3141592653.590
(eq pi 3.141592653589793)     ; => T
; PI is a number and no function: as the head of a form it is the form's value.
(pi)                          ; => 3.142
; nil and NIL are read as the name NIL, which is bound to nothing.
nil                           ; error: ;error; undefined symbol 'NIL'
NIL                           ; error: ;error; undefined symbol 'NIL'
; There is no >=.
(>= 2 1)                      ; error: ;error; undefined symbol '>='
>=                            ; error: ;error; undefined symbol '>='
; Built-ins are values like others, and names like others.
car                           ; => <Proc>
(setq first car)              ; => <Proc>
(first '(1 2))                ; => 1
(setq car cdr)                ; => <Proc>
(car '(1 2))                  ; => (2)
(first '(1 2))                ; => 1
