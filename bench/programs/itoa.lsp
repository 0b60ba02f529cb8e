; A million integers made texts and integers again.
(defun main (/ i sum)
  (setq i 0 sum 0)
  (repeat 1000000
    (setq i (+ i 1))
    (setq sum (- (atoi (itoa i)) sum)))
  (princ sum))

(main)
