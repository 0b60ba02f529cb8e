(define (build count)
  (let loop ((i 1) (numbers '()))
    (if (<= i count)
        (loop (+ i 1) (cons i numbers))
        numbers)))

(define (alternating-sum numbers sum)
  (if (null? numbers)
      sum
      (alternating-sum (cdr numbers) (- (car numbers) sum))))

(display (let loop ((times 0) (sum 0))
           (if (< times 3)
               (loop (+ times 1) (alternating-sum (build 1000000) sum))
               sum)))
(newline)
