(define (count-to limit)
  (let loop ((i 0))
    (if (< i limit)
        (loop (+ i 1))
        i)))

(display (count-to 10000000))
(newline)
