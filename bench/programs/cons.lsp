; A list that grows at its front and is then walked from end to end. The sum alternates, for a
; plain one would leave the range of integers.
(setq l '() i 0)
(repeat 200000
  (setq i (+ i 1))
  (setq l (cons i l)))

(setq sum 0)
(while (not (nullp l))
  (setq sum (- (car l) sum))
  (setq l (cdr l)))

(princ sum)
