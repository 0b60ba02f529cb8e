(defun main ()
  (let ((table (loop for key from 1 to 2000 collect (cons key (* 3 key))))
        (sum 0))
    (dotimes (times 50)
      (loop for key from 1 to 2000
            do (incf sum (cdr (assoc key table)))))
    (princ sum)))

(main)
