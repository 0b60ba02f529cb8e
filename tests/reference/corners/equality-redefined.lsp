; MEMBER and VL-REMOVE ask EQ, whatever it is.
(defun eq (a b) (< a b))      ; => EQ
(member 3 '(5 4 1 2))         ; => (1 2)
(vl-remove 3 '(1 2 3 4 5))    ; => (3 4 5)
(defun eq (a) (equal p1 p2))  ; => EQ
(member 2 '(1 2 3))           ; => (1 2 3)
(setq eq 5)                   ; => 5
(member 2 '(1 2 3))           ; => (1 2 3)
(vl-remove 2 '(1 2 3))        ; => ()
(setq eq equal)               ; => <Proc>
(member 2 '(1 2 3))           ; => (2 3)
(setq eq nil)                 ; => nil
(member 2 '(1 2 3))           ; => ()
