(defun main ()
  (let ((sum 0d0) (sign 4d0) (divisor 1d0))
    (dotimes (i 5000000)
      (incf sum (/ sign divisor))
      (setf sign (- sign))
      (incf divisor 2d0))
    (format t "~,3f" (* sum 1000000d0))))

(main)
