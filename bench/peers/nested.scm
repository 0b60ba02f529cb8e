(define (depth n)
  (if (< n 1)
      0
      (+ 1 (depth (- n 1)))))

(display (depth 1000000))
(newline)
