; 100,000 texts, each against five patterns.
(defun main (/ i name found)
  (setq i 0 found 0)
  (repeat 100000
    (setq i (+ i 1))
    (setq name (strcat "LINE-" (itoa i)))
    (if (wcmatch name "LINE-*7") (setq found (+ found 1)))
    (if (wcmatch name "@*-###") (setq found (+ found 1)))
    (if (wcmatch name "[A-L]*E-1*") (setq found (+ found 1)))
    (if (wcmatch name "*99*") (setq found (+ found 1)))
    (if (wcmatch name "LINE-?5?00") (setq found (+ found 1))))
  (princ found))

(main)
