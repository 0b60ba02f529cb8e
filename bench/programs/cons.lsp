; A list of a million elements that grows at its front and is then walked from end to end, 3 times.
; The sum alternates, for a plain one would leave the range of integers.
(defun main (/ numbers i sum)
  (setq sum 0)
  (repeat 3
    (setq numbers '() i 0)
    (repeat 1000000
      (setq i (+ i 1))
      (setq numbers (cons i numbers)))
    (while numbers
      (setq sum (- (car numbers) sum))
      (setq numbers (cdr numbers))))
  (princ sum))

(main)
