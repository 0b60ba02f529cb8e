; Calls of a function of three parameters, deeply nested.
(defun tak (x y z)
  (if (< y x)
    (tak (tak (- x 1) y z) (tak (- y 1) z x) (tak (- z 1) x y))
    z))

(princ (tak 24 16 8))
