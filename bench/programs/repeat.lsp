; A REPEAT of a million rounds.
(setq n 0)
(repeat 1000000
  (setq n (+ n 1)))

(princ n)
