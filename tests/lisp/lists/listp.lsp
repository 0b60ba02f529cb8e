; LISTP is true of lists alone, the empty one included.
(listp '(1))                  ; => T
(listp '())                   ; => T
(listp (cons 1 2))            ; => T
; nil is a symbol, and so is the value of an empty form.
(listp (car '()))             ; => nil
(listp ())                    ; => nil
(listp 'a)                    ; => nil
(listp 5)                     ; => nil
(listp 1.5)                   ; => nil
(listp "x")                   ; => nil
(listp car)                   ; => nil
(listp (lambda (x) x))        ; => nil
(listp nil)                   ; error: ;error; undefined symbol 'NIL'
; Too few and too many.
(listp)                       ; => nil
(listp '(1) 2)                ; => T
(listp 2 '(1))                ; => nil
