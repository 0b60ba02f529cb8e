; VL-REMOVE-IF keeps the elements for which a predicate gives nil.
(vl-remove-if '(lambda (x) (> x 2)) '(1 2 3 4)) ; => (1 2)
(vl-remove-if '(lambda (x) (< x 9)) '(1 2)) ; => ()
(vl-remove-if '(lambda (x) (> x 9)) '(1 2)) ; => (1 2)
(vl-remove-if '(lambda (x) T) '()) ; => ()
; The value of a LAMBDA and of a DEFUN serve as well as a quoted form.
(vl-remove-if (lambda (x) (> x 2)) '(1 2 3 4)) ; => (1 2)
(defun big (x) (> x 2))       ; => BIG
(vl-remove-if big '(1 2 3 4)) ; => (1 2)
; What is not nil is true: 0, "" and the empty list too; the text nil is false.
(vl-remove-if '(lambda (x) 0) '(1 2)) ; => ()
(vl-remove-if '(lambda (x) "") '(1 2)) ; => ()
(vl-remove-if '(lambda (x) '()) '(1 2)) ; => ()
(vl-remove-if '(lambda (x) x) '(1 "nil" 2 nil)) ; => ("nil")
; Of several body expressions the first alone is evaluated.
(vl-remove-if '(lambda (x) (> x 2) T) '(1 2 3)) ; => (1 2)
; The body sees its parameter and global names, not the locals of who calls.
(setq limit 2)                ; => 2
(vl-remove-if '(lambda (x) (> x limit)) '(1 2 3)) ; => (1 2)
(defun above (limit l) (vl-remove-if '(lambda (x) (> x limit)) l)) ; => ABOVE
(above 0 '(1 2 3))            ; => (1 2)
(defun made-inside (limit l) (vl-remove-if (lambda (x) (> x limit)) l)) ; => MADE-INSIDE
(made-inside 0 '(1 2 3))      ; => (1 2)
; A name that only the caller knows is unbound, and so nil: the message goes nowhere.
(defun beyond (z l) (vl-remove-if '(lambda (x) z) l)) ; => BEYOND
(beyond 5 '(1 2 3))           ; => (1 2 3)
; As an operand such a nil counts as 0.
(defun beyond (z l) (vl-remove-if '(lambda (x) (> x z)) l)) ; => BEYOND
(beyond 2 '(-1 0 1 2 3))      ; => (-1 0)
; More parameters than the one element: the others are nil.
(vl-remove-if '(lambda (x y) y) '(1 2)) ; => (1 2)
(vl-remove-if '(lambda () T) '(1 2)) ; => ()
(vl-remove-if '(lambda x T) '(1 2)) ; => ()
; Only the shape is read, whatever stands in front.
(vl-remove-if '(anything (x) (> x 2)) '(1 2 3)) ; => (1 2)
(vl-remove-if '(1 2 3) '(a b)) ; => ()
; Assignments of the body reach global names.
(setq sum 0)                  ; => 0
(vl-remove-if '(lambda (x) (setq sum (+ sum x))) '(1 2 3)) ; => ()
sum                           ; => 6
; A predicate without that shape gives nil.
(vl-remove-if '(lambda (x)) '(1 2)) ; => nil
(vl-remove-if '() '(1 2))     ; => nil
(vl-remove-if 'a '(1 2))      ; => nil
(vl-remove-if 5 '(1 2))       ; => nil
(vl-remove-if 1.5 '(1 2))     ; => nil
(vl-remove-if "x" '(1 2))     ; => nil
(vl-remove-if car '(1 2))     ; => nil
; The second must be a list.
(vl-remove-if big 5)          ; => nil
(vl-remove-if big 1.5)        ; => nil
(vl-remove-if big 'a)         ; => nil
(vl-remove-if big "x")        ; => nil
(vl-remove-if big car)        ; => nil
(vl-remove-if big big)        ; => nil
; Too few and too many.
(vl-remove-if)                ; => nil
(vl-remove-if big)            ; => nil
(vl-remove-if big '(1 3) '(9)) ; => (1)
