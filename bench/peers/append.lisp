; (append l (list i)) would copy the whole list; COLLECT puts the element at the end of a list that
; is being made.
(defun main ()
  (let ((total 0))
    (dotimes (times 20)
      (let ((l (loop for i from 1 to 200000 collect i)))
        (incf total (+ (length l) (car (last l))))))
    (princ total)))

(main)
