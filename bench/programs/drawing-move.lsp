; Moves all texts by 10 and 5.
(setq texts (ssget "X" '((0 . "TEXT"))) index 0)
(repeat (sslength texts)
  (setq data (entget (ssname texts index)))
  (setq place (assoc 10 data))
  (entmod (subst (list 10 (+ 10 (nth 1 place)) (+ 5 (nth 2 place)) 0.0) place data))
  (setq index (+ index 1)))
(princ index)
