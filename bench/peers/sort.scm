(use-modules (srfi srfi-1))

(define (merge-lists a b)
  (let loop ((a a) (b b) (reversed '()))
    (cond ((null? a) (append-reverse reversed b))
          ((null? b) (append-reverse reversed a))
          ((< (car b) (car a)) (loop a (cdr b) (cons (car b) reversed)))
          (else (loop (cdr a) b (cons (car a) reversed))))))

(define (merge-sort l)
  (let ((half (quotient (length l) 2)))
    (if (zero? half)
        l
        (call-with-values (lambda () (split-at l half))
          (lambda (left right) (merge-lists (merge-sort left) (merge-sort right)))))))

(define (random-numbers count)
  (let loop ((i 0) (n 1) (numbers '()))
    (if (< i count)
        (let ((n (remainder (+ (* n 1664) 1013) 1000003)))
          (loop (+ i 1) n (cons n numbers)))
        numbers)))

(display (fold (lambda (value sum) (remainder (+ (* sum 31) value) 1000003))
               0
               (merge-sort (random-numbers 100000))))
(newline)
