; ASSOC finds the first sub-list whose first element has the integer of the key.
(assoc 8 '((0 . "LINE") (8 . "0"))) ; => (8 . "0")
(cdr (assoc 8 '((0 . "LINE") (8 . "0")))) ; => "0"
(assoc 10 '((0 . "LINE") (10 1.0 2.0))) ; => (10 1.000 2.000)
(assoc 9 '((0 . "LINE") (8 . "0"))) ; => nil
(assoc 1 '((1 a) (1 b)))      ; => (1 A)
(assoc -3 '((3 a) (-3 b)))    ; => (-3 B)
(assoc 1 '())                 ; => nil
; Elements without elements are passed over.
(assoc 1 '(1 () "x" (1 a)))   ; => (1 A)
(assoc 0 '(0 () "x"))         ; => nil
; Neither texts nor reals are compared: a key that is no integer counts as 0, ...
(assoc "b" '(("a" . 1) ("b" . 2))) ; => ("a" . 1)
(assoc 'b '((5 . 1) (b . 2)))  ; => (B . 2)
(assoc 'b '((a . 1) (b . 2)))  ; => (A . 1)
(assoc 2.0 '((2 . "two")))    ; => nil
(assoc 2.0 '((2 . "two") (0 . "zero"))) ; => (0 . "zero")
(assoc '(1) '((1 . 2) (0 . 3))) ; => (0 . 3)
(assoc car '((1 . 2) (0 . 3))) ; => (0 . 3)
(assoc (lambda (x) x) '((1 . 2) (0 . 3))) ; => (0 . 3)
; ... and so does a first element that is none.
(assoc 0 '(("a" . 1)))        ; => ("a" . 1)
(assoc 0 '((2.0 . 1)))        ; => (2.000 . 1)
(assoc 2 '((2.0 . 1)))        ; => nil
(assoc 0 '(((1 2) 3)))        ; => ((1 2) 3)
; An atom is a list without elements.
(assoc 0 'a)                  ; => nil
(assoc 0 5)                   ; => nil
(assoc 0 1.5)                 ; => nil
(assoc 0 "x")                 ; => nil
(assoc 0 car)                 ; => nil
(assoc 0 (lambda (x) x))      ; => (X)
; Too few and too many.
(assoc)                       ; => nil
(assoc 1)                     ; => nil
(assoc 1 '((1 a)) '((1 b)))   ; => (1 A)
