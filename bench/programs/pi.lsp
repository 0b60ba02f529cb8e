; Five million terms of 4/1 - 4/3 + 4/5 - 4/7 ..., in reals. A million times pi is shown, for a real
; prints with three decimals.
(defun main (/ sum sign divisor)
  (setq sum 0.0 sign 4.0 divisor 1.0)
  (repeat 5000000
    (setq sum (+ sum (/ sign divisor)))
    (setq sign (- 0.0 sign))
    (setq divisor (+ divisor 2.0)))
  (princ (* sum 1000000.0)))

(main)
