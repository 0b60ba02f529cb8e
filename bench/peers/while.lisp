(defun main ()
  (let ((i 0))
    (loop while (< i 10000000)
          do (incf i))
    (princ i)))

(main)
