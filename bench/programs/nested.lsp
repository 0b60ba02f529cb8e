; A million calls, one within the other.
(defun depth (n)
  (if (< n 1)
    0
    (+ 1 (depth (- n 1)))))

(princ (depth 1000000))
