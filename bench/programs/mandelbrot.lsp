; The Mandelbrot set on 400 by 400 points, at most 50 steps each; the sum of all steps is shown.
(defun steps (cx cy / x y xx yy n)
  (setq x 0.0 y 0.0 xx 0.0 yy 0.0 n 0)
  (while (and (< n 50) (< (+ xx yy) 4.0))
    (setq y (+ (* 2.0 x y) cy))
    (setq x (+ (- xx yy) cx))
    (setq xx (* x x) yy (* y y))
    (setq n (+ n 1)))
  n)

(defun main (/ row column sum)
  (setq row 0 sum 0)
  (repeat 400
    (setq column 0)
    (repeat 400
      (setq sum (+ sum (steps (- (* column 0.00625) 2.0) (- (* row 0.00625) 1.25))))
      (setq column (+ column 1)))
    (setq row (+ row 1)))
  (princ sum))

(main)
