; A text of 200,000 characters that grows at its end, one character at a time, 20 times.
(defun main (/ text total)
  (setq total 0)
  (repeat 20
    (setq text "")
    (repeat 200000
      (setq text (strcat text "x")))
    (setq total (+ total (strlen text))))
  (princ total))

(main)
