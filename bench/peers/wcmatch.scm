(use-modules (ice-9 regex) (srfi srfi-1))

(define patterns
  (map make-regexp
       '("^LINE-.*7$" "^[a-zA-Z].*-[0-9][0-9][0-9]$" "^[A-L].*E-1.*$" "^.*99.*$" "^LINE-.5.00$")))

(define (matches name)
  (count (lambda (pattern) (regexp-exec pattern name)) patterns))

(display (let loop ((i 1) (found 0))
           (if (<= i 100000)
               (loop (+ i 1) (+ found (matches (string-append "LINE-" (number->string i)))))
               found)))
(newline)
