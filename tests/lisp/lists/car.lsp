; CAR is the first element, nil when there is none.
(car '(1 2 3))                ; => 1
(car '((1) 2))                ; => (1)
(car (cons 1 2))              ; => 1
(car '())                     ; => nil
(car ())                      ; => nil
; An atom is a list without elements.
(car 'a)                      ; => nil
(car 5)                       ; => nil
(car 1.5)                     ; => nil
(car "abc")                   ; => nil
(car car)                     ; => nil
(car T)                       ; => nil
; A function has the elements of its LAMBDA form.
(car (lambda (x) x))          ; => LAMBDA
; Too few and too many.
(car)                         ; => nil
(car '(1) '(2))               ; => 1
