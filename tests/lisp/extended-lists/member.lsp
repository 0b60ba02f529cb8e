; MEMBER is the list from the first element that is equal to a value.
(member 2 '(1 2 3))           ; => (2 3)
(member 2 '(1 2 3 2))         ; => (2 3 2)
(member 1 '(1 2 3))           ; => (1 2 3)
(member 3 '(1 2 3))           ; => (3)
(member "b" '("a" "b" "c"))   ; => ("b" "c")
(member '(2) '((1) (2) 3))    ; => ((2) 3)
(member 'b '(a b c))          ; => (B C)
(member 2.0 '(1 2 3))         ; => (2 3)
; Not found is an empty list, not nil.
(member 9 '(1 2 3))           ; => ()
(listp (member 9 '(1 2 3)))   ; => T
(member 1 '())                ; => ()
(if (member 9 '(1 2 3)) "true" "false") ; => "true"
; The element is the first operand: it decides what is compared.
(member "x" '(1 0 2))         ; => (0 2)
(member 0 '("x" "" 1))        ; => ("" 1)
(member "x" '(5 () 2))        ; => (() 2)
(member '() '(5 6))           ; => ()
(member '() '(5 0 6))         ; => (0 6)
(member 'a '(1 car))          ; => ()
(member car '(1 ""))          ; => ("")
(member (lambda (x) x) '(1 "" 2)) ; => ("" 2)
(member 1.5 '(1 1.5))         ; => (1.500)
; The second must be a list.
(member 1 5)                  ; => nil
(member 1 1.5)                ; => nil
(member 1 'a)                 ; => nil
(member 1 "1")                ; => nil
(member 1 car)                ; => nil
(member 'lambda (lambda (x) x)) ; => nil
(member 1 (car '()))          ; => nil
; Too few and too many.
(member)                      ; => nil
(member 1)                    ; => nil
(member 2 '(1 2) '(3))        ; => (2)
; A local EQ is not seen, a global one is.
((lambda (eq) (member 2 '(1 2 3))) 7) ; => (2 3)
(defun eq (element value) (> element value)) ; => EQ
(member 2 '(1 2 3 1))         ; => (3 1)
; Once found, nothing more is compared.
(setq calls 0)                ; => 0
(defun eq (element value) (setq calls (+ calls 1)) (= element value)) ; => EQ
(member 2 '(1 2 3 4 5))       ; => (2 3 4 5)
calls                         ; => 2
(member 9 '(1 2 3))           ; => ()
calls                         ; => 5
; Whatever EQ is, its value counts.
(setq eq 5)                   ; => 5
(member 9 '(1 2))             ; => (1 2)
(setq eq '(1 2))              ; => (1 2)
(member 1 '(1 2))             ; => ()
