; (string-append text "x") would copy the whole text; a string port collects the pieces.
(define (build count)
  (call-with-output-string
    (lambda (port)
      (let loop ((i 0))
        (when (< i count)
          (write-char #\x port)
          (loop (+ i 1)))))))

(display (let loop ((times 0) (total 0))
           (if (< times 20)
               (loop (+ times 1) (+ total (string-length (build 200000))))
               total)))
(newline)
