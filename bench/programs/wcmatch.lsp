; Texts against three patterns: two of plain wildcards, one with a set of characters.
(setq found 0 i 0)
(repeat 20000
  (setq i (+ i 1))
  (setq name (strcat "LINE-" (itoa i)))
  (if (wcmatch name "LINE-*7") (setq found (+ found 1)))
  (if (wcmatch name "@*-###") (setq found (+ found 1)))
  (if (wcmatch name "[A-L]*E-1*") (setq found (+ found 1))))

(princ found)
