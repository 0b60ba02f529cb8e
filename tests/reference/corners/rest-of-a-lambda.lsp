; A function made by the program has elements, and its rest is a function.
(setq f (lambda (x) (y z) (+ y z)))  ; =>
(setq g (cdr f))                     ; =>
(g 1 2)                              ; => 3
(length g)                           ; => 3
(listp g)                            ; => nil
(defun h (x) x)                      ; => H
(cdr h)                              ; => H
((cdr h) 1)                          ; => nil
(car h)                              ; => LAMBDA
(append h '(1))                      ; => (LAMBDA (X) (BEGIN X) 1)
(cons 1 h)                           ; => (1 . H)
(reverse h)                          ; => nil
((subst 5 'x h) 1)                   ; error: ;error; not a function!
(equal h (lambda (x) x))             ; => nil
