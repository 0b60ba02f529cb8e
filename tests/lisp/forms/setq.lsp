; SETQ assigns values to names and empties the error buffer.
(setq a 1 b 2)                ; => 2
a                             ; => 1
b                             ; => 2
; A later value sees an earlier assignment.
(setq a 5 b (+ a 1))          ; => 6
(setq a b)                    ; => 6
; The message of the unbound name nil is discarded: this is how a program says "false".
(setq z nil)                  ; => nil
z                             ; => nil
(setq z zzz)                  ; => nil
(begin zzz (setq q 1))        ; => 1
(list zzz (setq q 2))         ; => (nil 2)
; A message behind the assignment stays.
(begin (setq q 3) zzz)        ; error: ;error; undefined symbol 'ZZZ'
q                             ; => 3
; Inside a call it changes the innermost binding, and makes new names global.
(setq a 1)                    ; => 1
((lambda (a) (begin (setq a 2) (setq fresh 3) a)) 9) ; => 2
a                             ; => 1
fresh                         ; => 3
; A value is missing: nil. Nothing at all: a symbol without a name.
(setq a)                      ; => nil
a                             ; => nil
(setq a 1 b)                  ; => nil
(list (setq) 1)               ; => ( 1)
; The name is the element's text, whatever its type.
(setq "A" 7)                  ; => 7
a                             ; => 7
