; (concatenate 'string text "x") would copy the whole text; a string stream collects the pieces.
(defun main ()
  (let ((total 0))
    (dotimes (times 20)
      (let ((text (with-output-to-string (stream)
                    (dotimes (i 200000)
                      (write-char #\x stream)))))
        (incf total (length text))))
    (princ total)))

(main)
