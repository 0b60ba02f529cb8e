(use-modules (srfi srfi-1))

(define (primes limit)
  (let loop ((numbers (iota (- limit 1) 2)) (found 0))
    (let ((prime (car numbers)))
      (if (<= (* prime prime) limit)
          (loop (remove (lambda (n) (zero? (remainder n prime))) numbers) (+ found 1))
          (+ found (length numbers))))))

(display (primes 400000))
(newline)
