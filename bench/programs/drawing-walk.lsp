; Looks at every entity and counts the circles.
(setq name (entnext) circles 0)
(while name
  (setq data (entget name))
  (if (= (cdr (assoc 0 data)) "CIRCLE") (setq circles (+ circles 1)))
  (setq name (entnext name)))
(princ circles)
