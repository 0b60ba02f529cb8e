; A WHILE that counts to a million.
(setq i 0)
(while (< i 1000000)
  (setq i (+ i 1)))

(princ i)
