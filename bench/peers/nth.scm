(define numbers (list->vector (iota 100000 1)))

(define (alternating-sum numbers sum)
  (let ((count (vector-length numbers)))
    (let loop ((i 0) (sum sum))
      (if (< i count)
          (loop (+ i 1) (- (vector-ref numbers i) sum))
          sum))))

(display (let loop ((times 0) (sum 0))
           (if (< times 100)
               (loop (+ times 1) (alternating-sum numbers sum))
               sum)))
(newline)
