; A WHILE that counts to ten million and does nothing else.
(defun main (/ i)
  (setq i 0)
  (while (< i 10000000)
    (setq i (+ i 1)))
  (princ i))

(main)
