; A text that grows at its end, one character at a time.
(setq s "")
(repeat 100000
  (setq s (strcat s "x")))

(princ (strlen s))
