; Counts the circles of one layer.
(princ (sslength (ssget "X" '((0 . "CIRCLE") (8 . "L3")))))
