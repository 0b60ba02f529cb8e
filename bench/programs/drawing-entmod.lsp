; Doubles the radius of every circle. Prints how many there are, and the last one's radius.
(setq name (entnext) circles 0)
(while name
  (setq data (entget name))
  (if (= (cdr (assoc 0 data)) "CIRCLE")
    (begin
      (setq radius (assoc 40 data) last name circles (+ circles 1))
      (entmod (subst (cons 40 (* 2 (cdr radius))) radius data))))
  (setq name (entnext name)))
(princ (list circles (cdr (assoc 40 (entget last)))))
