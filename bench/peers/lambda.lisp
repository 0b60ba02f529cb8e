(defun repeat (times function n)
  (dotimes (i times n)
    (setf n (funcall function n))))

(princ (repeat 5000000 (lambda (x) (+ x 1)) 0))
