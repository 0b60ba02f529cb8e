(defun merge-lists (a b)
  (let ((merged '()))
    (loop while (and a b)
          do (push (if (< (car b) (car a)) (pop b) (pop a)) merged))
    (nreconc merged (or a b))))

(defun merge-sort (l)
  (let ((half (floor (length l) 2)))
    (if (zerop half)
        l
        (merge-lists (merge-sort (subseq l 0 half)) (merge-sort (nthcdr half l))))))

(defun random-numbers (count)
  (let ((n 1))
    (loop repeat count
          collect (setf n (rem (+ (* n 1664) 1013) 1000003)))))

(defun main ()
  (let ((sum 0))
    (dolist (value (merge-sort (random-numbers 100000)))
      (setf sum (rem (+ (* sum 31) value) 1000003)))
    (princ sum)))

(main)
