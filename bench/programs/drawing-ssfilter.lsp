; Selects the circles of one layer and goes through the set.
(setq circles (ssget "X" '((0 . "CIRCLE") (8 . "L3"))) index 0)
(while (ssname circles index) (setq index (+ index 1)))
(princ index)
