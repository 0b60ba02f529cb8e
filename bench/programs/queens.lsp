; All ways to place eight queens so that none takes another, found 50 times.
(defun safe (column placed distance)
  (cond ((nullp placed) T)
        ((= (car placed) column) (not T))
        ((= (car placed) (+ column distance)) (not T))
        ((= (car placed) (- column distance)) (not T))
        (T (safe column (cdr placed) (+ distance 1)))))

(defun place (row placed / column found)
  (if (< 8 row)
    1
    (begin
      (setq column 1 found 0)
      (repeat 8
        (if (safe column placed 1)
          (setq found (+ found (place (+ row 1) (cons column placed)))))
        (setq column (+ column 1)))
      found)))

(defun main (/ found)
  (setq found 0)
  (repeat 50
    (setq found (+ found (place 1 '()))))
  (princ found))

(main)
