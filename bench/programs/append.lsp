; A list that grows at its end, one element at a time.
(setq l '() i 0)
(repeat 100000
  (setq i (+ i 1))
  (setq l (append l (list i))))

(princ (strcat (itoa (length l)) " " (itoa (last l))))
