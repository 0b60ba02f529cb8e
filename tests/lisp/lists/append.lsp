; APPEND joins the elements of its first two arguments; it looks at no further ones.
(append '(1 2) '(3))          ; => (1 2 3)
(append '(1) '(2) '(3))       ; => (1 2)
(append '() '(1))             ; => (1)
(append '(1) '())             ; => (1)
(append '() '())              ; => ()
(append '((1)) '((2)))        ; => ((1) (2))
; The mark of a dotted pair is an element like any other.
(append (cons 1 2) (cons 3 4)) ; => (1 . 2 3 . 4)
; An atom contributes nothing, on either side.
(append 5 '(1))               ; => (1)
(append 'a '(1))              ; => (1)
(append 1.5 '(1))             ; => (1)
(append "x" '(1))             ; => (1)
(append car '(1))             ; => (1)
(append '(1) 5)               ; => (1)
(append '(1) 'a)              ; => (1)
(append '(1) 1.5)             ; => (1)
(append '(1) "x")             ; => (1)
(append '(1) car)             ; => (1)
(append '(1) (car '()))       ; => (1)
(append 1 2)                  ; => ()
; A function contributes the elements of its LAMBDA form.
(append '(1) (lambda (x) x))  ; => (1 LAMBDA (X) X)
(append (lambda (x) x) '(1))  ; => (LAMBDA (X) X 1)
; Too few.
(append)                      ; => nil
(append '(1 2))               ; => (1 2)
(append 5)                    ; => ()
; The arguments stay as they were.
(setq a '(1))                 ; => (1)
(setq b (append a '(2)))      ; => (1 2)
(setq c (append a '(3)))      ; => (1 3)
(setq d (append b '(4)))      ; => (1 2 4)
(list a b c d)                ; => ((1) (1 2) (1 3) (1 2 4))
