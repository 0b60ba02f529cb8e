; Doubles the radius of all circles of one layer.
(setq circles (ssget "X" '((0 . "CIRCLE") (8 . "L3"))) index 0)
(repeat (sslength circles)
  (setq data (entget (ssname circles index)))
  (setq radius (assoc 40 data))
  (entmod (subst (cons 40 (* 2 (cdr radius))) radius data))
  (setq index (+ index 1)))
(princ index)
