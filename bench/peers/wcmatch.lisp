(defun main ()
  (let ((patterns
          (mapcar (lambda (pattern) (regexp:regexp-compile pattern :extended t))
                  '("^LINE-.*7$" "^[a-zA-Z].*-[0-9][0-9][0-9]$" "^[A-L].*E-1.*$" "^.*99.*$"
                    "^LINE-.5.00$")))
        (found 0))
    (loop for i from 1 to 100000
          for name = (format nil "LINE-~d" i)
          do (dolist (pattern patterns)
               (when (regexp:regexp-exec pattern name)
                 (incf found))))
    (princ found)))

(main)
