(use-modules (ice-9 format))

(define (leibniz terms)
  (let loop ((i 0) (sum 0.0) (sign 4.0) (divisor 1.0))
    (if (< i terms)
        (loop (+ i 1) (+ sum (/ sign divisor)) (- sign) (+ divisor 2.0))
        sum)))

(format #t "~,3f~%" (* (leibniz 5000000) 1000000.0))
