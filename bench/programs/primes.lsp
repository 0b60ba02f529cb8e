; How many primes there are up to 400,000: the multiples of the first number left go, again and
; again. The predicate sees global names only, so the number is global.
(defun primes (limit / numbers i found)
  (setq numbers '() i limit)
  (while (< 1 i)
    (setq numbers (cons i numbers))
    (setq i (- i 1)))
  (setq found 0 prime (car numbers))
  (while (<= (* prime prime) limit)
    (setq numbers (vl-remove-if '(lambda (n) (= n (* prime (/ n prime)))) numbers))
    (setq found (+ found 1))
    (setq prime (car numbers)))
  (+ found (length numbers)))

(princ (primes 400000))
