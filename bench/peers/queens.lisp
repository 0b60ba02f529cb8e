(defun safe (column placed distance)
  (cond ((null placed) t)
        ((= (car placed) column) nil)
        ((= (car placed) (+ column distance)) nil)
        ((= (car placed) (- column distance)) nil)
        (t (safe column (cdr placed) (+ distance 1)))))

(defun place (row placed)
  (if (> row 8)
      1
      (loop for column from 1 to 8
            when (safe column placed 1)
              sum (place (+ row 1) (cons column placed)))))

(princ (loop repeat 50 sum (place 1 '())))
