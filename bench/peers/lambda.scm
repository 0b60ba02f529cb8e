(define (repeat times function start)
  (let loop ((i 0) (n start))
    (if (< i times)
        (loop (+ i 1) (function n))
        n)))

(display (repeat 5000000 (lambda (x) (+ x 1)) 0))
(newline)
