; REVERSE turns the order of the elements round, at the top only.
(reverse '(1 2 3))            ; => (3 2 1)
(reverse '(1 (2 3) 4))        ; => (4 (2 3) 1)
(reverse '(1))                ; => (1)
(reverse '())                 ; => ()
(listp (reverse '()))         ; => T
; The mark of a dotted pair stays in the middle.
(reverse (cons 1 2))          ; => (2 . 1)
(reverse 5)                   ; => nil
(reverse 1.5)                 ; => nil
(reverse 'a)                  ; => nil
(reverse "abc")               ; => nil
(reverse car)                 ; => nil
(reverse (lambda (x) x))      ; => nil
(reverse (car '()))           ; => nil
(reverse)                     ; => nil
(reverse '(1 2) '(3 4))       ; => (2 1)
(setq a '(1 2))               ; => (1 2)
(reverse a)                   ; => (2 1)
a                             ; => (1 2)
