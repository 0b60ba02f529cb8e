; SUBST replaces the elements equal to the old value; it never looks inside sub-lists.
(subst 9 2 '(1 2 (2)))        ; => (1 9 (2))
(subst 9 2 '(2 1 2 2.0))      ; => (9 1 9 9)
(subst 9 5 '(1 2))            ; => (1 2)
(subst '(x) '(2) '(1 (2) 2))  ; => (1 (X) 2)
(subst "new" "old" '("old" "OLD")) ; => ("new" "OLD")
; The old value is EQUAL's first operand: 0 equals every text, an empty list every atom.
(subst 9 0 '("a" b (1) 1))    ; => (9 9 9 1)
(subst 9 "a" '(0 "a"))        ; => (0 9)
(subst 9 '() '(1 "a" (1)))    ; => (9 9 (1))
(subst 1 'lambda (lambda (x) x)) ; => (1 (X) X)
(subst car 2 '(1 2))          ; => (1 <Proc>)
(subst 9 1.5 '(1 1.5))        ; => (1 9)
; A function without a name has the empty text, as numbers have.
(subst 9 car '("" 1 "a"))     ; => (9 9 "a")
; A list without elements, and every atom, gives nil.
(subst 9 2 '())               ; => nil
(subst 9 2 'a)                ; => nil
(subst 9 2 2)                 ; => nil
(subst 9 2 1.5)               ; => nil
(subst 9 2 "x")               ; => nil
(subst 9 2 car)               ; => nil
; Too few and too many.
(subst)                       ; => nil
(subst 9)                     ; => nil
(subst 9 2)                   ; => nil
(subst 9 2 '(2) '(3))         ; => (9)
; It compares with EQUAL whatever EQ is bound to.
(defun eq (a b) T)            ; => EQ
(subst 9 2 '(1 2))            ; => (1 9)
