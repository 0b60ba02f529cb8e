; A list of 200,000 elements that grows at its end, one element at a time, 20 times.
(defun main (/ l i total)
  (setq total 0)
  (repeat 20
    (setq l '() i 0)
    (repeat 200000
      (setq i (+ i 1))
      (setq l (append l (list i))))
    (setq total (+ total (length l) (last l))))
  (princ total))

(main)
