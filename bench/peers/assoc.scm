(define table (map (lambda (key) (cons key (* 3 key))) (iota 2000 1)))

(define (sum-of-all sum)
  (let loop ((key 1) (sum sum))
    (if (<= key 2000)
        (loop (+ key 1) (+ sum (cdr (assv key table))))
        sum)))

(display (let loop ((times 0) (sum 0))
           (if (< times 50)
               (loop (+ times 1) (sum-of-all sum))
               sum)))
(newline)
