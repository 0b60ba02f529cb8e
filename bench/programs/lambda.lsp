; Five million calls of a function that is a value.
(defun main (/ next n)
  (setq next (lambda (x) (+ x 1)) n 0)
  (repeat 5000000
    (setq n (next n)))
  (princ n))

(main)
