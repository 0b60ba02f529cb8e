(define text (string-concatenate (make-list 20000 "abcde")))

(define (count-c text found)
  (let ((end (string-length text)))
    (let loop ((at 0) (found found))
      (cond ((= at end) found)
            ((char=? (string-ref text at) #\c) (loop (+ at 1) (+ found 1)))
            (else (loop (+ at 1) found))))))

(display (let loop ((times 0) (found 0))
           (if (< times 40)
               (loop (+ times 1) (count-c text found))
               found)))
(newline)
