; Gives the first circle of one layer another radius. Everything else stays.
(setq data (entget (ssname (ssget "X" '((0 . "CIRCLE") (8 . "L3"))) 0)))
(entmod (subst '(40 . 123.5) (assoc 40 data) data))
(princ "changed")
