(defun main ()
  (let ((sum 0))
    (dotimes (times 3)
      (let ((numbers '()))
        (loop for i from 1 to 1000000
              do (push i numbers))
        (loop while numbers
              do (setf sum (- (pop numbers) sum)))))
    (princ sum)))

(main)
