; (append l (list i)) would copy the whole list; Scheme programs cons and reverse in the end.
(use-modules (srfi srfi-1))

(define (build count)
  (let loop ((i 1) (reversed '()))
    (if (<= i count)
        (loop (+ i 1) (cons i reversed))
        (reverse! reversed))))

(display (let loop ((times 0) (total 0))
           (if (< times 20)
               (let ((l (build 200000)))
                 (loop (+ times 1) (+ total (length l) (last l))))
               total)))
(newline)
