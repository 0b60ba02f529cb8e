; A loop that reaches 100,000 elements by their index, 100 times.
(defun main (/ numbers i sum)
  (setq numbers '() i 0)
  (repeat 100000
    (setq i (+ i 1))
    (setq numbers (append numbers (list i))))
  (setq sum 0)
  (repeat 100
    (setq i 0)
    (repeat 100000
      (setq sum (- (nth i numbers) sum))
      (setq i (+ i 1))))
  (princ sum))

(main)
