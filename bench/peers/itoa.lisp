(defun main ()
  (let ((sum 0))
    (loop for i from 1 to 1000000
          do (setf sum (- (parse-integer (write-to-string i :pretty nil)) sum)))
    (princ sum)))

(main)
