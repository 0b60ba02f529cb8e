; 100,000 look-ups by integer keys in an association list of 2,000 pairs.
(defun main (/ table key sum)
  (setq table '() key 2000)
  (while (< 0 key)
    (setq table (cons (cons key (* 3 key)) table))
    (setq key (- key 1)))
  (setq sum 0)
  (repeat 50
    (setq key 1)
    (repeat 2000
      (setq sum (+ sum (cdr (assoc key table))))
      (setq key (+ key 1))))
  (princ sum))

(main)
