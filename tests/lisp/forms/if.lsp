; IF evaluates one of two branches.
(if T 1 2)                    ; => 1
(if (car '()) 1 2)            ; => 2
(if (not T) 1)                ; => nil
(if T 1)                      ; => 1
(if T 1 2 3)                  ; => 1
(if (car '()) 1 2 3)          ; => 2
; nil is read as an unbound name: the message stays, and the value is that of the other branch.
(if nil 1 2)                  ; error: ;error; undefined symbol 'NIL'
; False is the text nil alone: 0, 0.0, "" and an empty list are true.
(if 0 1 2)                    ; => 1
(if 0.0 1 2)                  ; => 1
(if "" 1 2)                   ; => 1
(if '() 1 2)                  ; => 1
(if "nil" 1 2)                ; => 2
(if "NIL" 1 2)                ; => 1
(if 'nil 1 2)                 ; => 1
(if () 1 2)                   ; => 2
(if car 1 2)                  ; => 1
; Only the branch taken is evaluated.
(setq n 0)                    ; => 0
(if T 1 (setq n 1))           ; => 1
(if (car '()) (setq n 1) 2)   ; => 2
n                             ; => 0
; Missing elements are nil.
(if)                          ; => nil
(if T)                        ; => nil
