; VL-REMOVE leaves out the elements that are equal to a value.
(vl-remove 2 '(1 2 3 2))      ; => (1 3)
(vl-remove 2.0 '(1 2))        ; => (1)
(vl-remove 9 '(1 2))          ; => (1 2)
(vl-remove 1 '(1 1 1))        ; => ()
(listp (vl-remove 1 '(1)))    ; => T
(vl-remove 1 '())             ; => ()
(vl-remove "a" '("a" "A" "a")) ; => ("A")
(vl-remove '(1) '((1) 1 (2))) ; => (1 (2))
(vl-remove 'a '(a b a))       ; => (B)
; The element is the first operand.
(vl-remove "x" '(0 1 "x"))    ; => (1)
(vl-remove 0 '("x" "" 0))     ; => ("x")
(vl-remove 5 '(() 5 6))       ; => (6)
(vl-remove car '("" 1))       ; => (1)
(vl-remove (lambda (x) x) '("" 1)) ; => (1)
(vl-remove 1.5 '(1 1.5))      ; => (1)
(vl-remove "." (cons 1 2))    ; => (1 2)
(vl-remove 1 5)               ; => nil
(vl-remove 1 1.5)             ; => nil
(vl-remove 1 'a)              ; => nil
(vl-remove 1 "1")             ; => nil
(vl-remove 1 car)             ; => nil
(vl-remove 1 (lambda (x) x))  ; => nil
; Too few and too many.
(vl-remove)                   ; => nil
(vl-remove 1)                 ; => nil
(vl-remove 1 '(1 2) '(3))     ; => (2)
; EQ is looked up at every comparison.
(defun eq (element value) (< element value)) ; => EQ
(vl-remove 2 '(1 2 3))        ; => (2 3)
; A global EQ that changes while it works counts from the next element on.
(defun eq (element value) (setq eq 5) (= 1 2)) ; => EQ
(vl-remove 9 '(1 2 3))        ; => (1)
; A message left by a comparison goes nowhere; its nil counts as not equal.
(defun eq (element value) zzz) ; => EQ
(vl-remove 1 '(1 2))          ; => (1 2)
