; sieve.lsp - prime numbers: a sieve, twin primes, factorisation.
;
; Teaches: building lists with CONS and REVERSE, walking a list with WHILE and CDR,
; counters (a local variable starts as 0), whole division, and composing a line of output
; with STRCAT before printing it.
;
; Run it: vlisp run examples/sieve.lsp

; ---- Whole numbers --------------------------------------------------------------------

; What is left over when A is divided by B. Integers divide without a fraction.
(defun remainder (a b)
  (- a (* b (/ a b))))

; True when D divides N.
(defun divides (d n)
  (= (remainder n d) 0))

; The list of the integers LOW to HIGH. Counting down, CONS leaves them in order.
(defun range (low high / numbers)
  (setq numbers '())
  (while (<= low high)
    (setq numbers (cons high numbers))
    (setq high (- high 1)))
  numbers)

; ---- Primes ---------------------------------------------------------------------------

; NUMBERS without the multiples of D.
(defun without-multiples (d numbers / kept)
  (setq kept '())
  (while (not (nullp numbers))
    (if (not (divides d (car numbers)))
      (setq kept (cons (car numbers) kept)))
    (setq numbers (cdr numbers)))
  (reverse kept))

; The primes up to LIMIT, after Eratosthenes: the smallest number left is a prime, its
; multiples go. Past the square root of LIMIT whatever is left is prime.
(defun primes-up-to (limit / left primes p)
  (setq left (range 2 limit))
  (setq primes '())
  (while (and (not (nullp left))
              (<= (* (car left) (car left)) limit))
    (setq p (car left))
    (setq primes (cons p primes))
    (setq left (without-multiples p (cdr left))))
  (append (reverse primes) left))

; The pairs of neighbours in PRIMES that lie two apart.
(defun twins (primes / pairs)
  (setq pairs '())
  (while (not (nullp (cdr primes)))
    (if (= (+ (car primes) 2) (cadr primes))
      (setq pairs (cons (list (car primes) (cadr primes)) pairs)))
    (setq primes (cdr primes)))
  (reverse pairs))

; How many of NUMBERS lie from LOW to HIGH.
(defun count-between (low high numbers / n)
  (while (not (nullp numbers))
    (if (and (<= low (car numbers)) (<= (car numbers) high))
      (setq n (+ n 1)))
    (setq numbers (cdr numbers)))
  n)

; ---- Factors --------------------------------------------------------------------------

; The prime factors of N, smallest first, each as often as it occurs. The loop compares
; D with N / D, not D * D with N, for the square of a large D is no 32-bit integer.
(defun factors (n / d found)
  (setq d 2)
  (setq found '())
  (while (<= d (/ n d))
    (if (divides d n)
      (setq found (cons d found)
            n (/ n d))
      (setq d (+ d 1))))
  (reverse (if (> n 1) (cons n found) found)))

; The product of NUMBERS.
(defun product (numbers)
  (if (nullp numbers)
    1
    (* (car numbers) (product (cdr numbers)))))

; A sorted list of factors as text, equal ones as a power: 2^3 x 5.
(defun powers-text (numbers / text base power)
  (setq text "")
  (while (not (nullp numbers))
    (setq base (car numbers))
    (setq power 0)
    (while (and (not (nullp numbers)) (= base (car numbers)))
      (setq power (+ power 1))
      (setq numbers (cdr numbers)))
    (setq text (strcat text
                       (if (= text "") "" " x ")
                       base
                       (if (> power 1) (strcat "^" power) ""))))
  text)

; ---- Output ---------------------------------------------------------------------------

; VALUE as text of at least WIDTH characters, blanks in front.
(defun pad-left (value width / text)
  (setq text (strcat value))
  (while (< (strlen text) width)
    (setq text (strcat " " text)))
  text)

; MARK written N times.
(defun repeat-text (mark n / text)
  (setq text "")
  (repeat n
    (setq text (strcat text mark)))
  text)

; Prints NUMBERS in columns of WIDTH characters, PER-LINE of them on a line.
(defun print-columns (numbers per-line width / line used)
  (setq line "")
  (while (not (nullp numbers))
    (setq line (strcat line (pad-left (car numbers) width)))
    (setq used (+ used 1))
    (if (= used per-line)
      (begin
        (princ line)
        (setq line "" used 0)))
    (setq numbers (cdr numbers)))
  (if (> used 0) (princ line)))

; Prints how the primes thin out: one bar for each of the first N hundreds.
(defun print-bars (primes n / low found)
  (setq low 1)
  (repeat n
    (setq found (count-between low (+ low 99) primes))
    (princ (strcat (pad-left low 5) " to " (pad-left (+ low 99) 4) " "
                   (repeat-text "#" found) " " found))
    (setq low (+ low 100))))

; Prints N as a product of primes, and multiplies these again as a check.
(defun print-factors (n / found)
  (setq found (factors n))
  (princ (strcat (pad-left n 12) " = " (powers-text found)
                 (if (= (length found) 1) "   prime" "")
                 (if (= (product found) n) "" "   WRONG"))))

; ---- The report -----------------------------------------------------------------------

(setq primes (primes-up-to 500))

(princ "Primes up to 200")
(print-columns (primes-up-to 200) 10 5)

(princ "")
(princ "Primes in each hundred")
(print-bars primes 5)

(princ "")
(princ (strcat "Twin primes up to 500: " (length (twins primes)) " pairs"))
(setq pairs (twins primes))
(while (not (nullp pairs))
  (princ (strcat (pad-left (car (car pairs)) 6) " and " (cadr (car pairs))))
  (setq pairs (cdr pairs)))

(princ "")
(princ "Factors")
(print-factors 360)
(print-factors 1001)
(print-factors 65536)
(print-factors 30030)
(print-factors 999999)
(print-factors 123456789)
(print-factors 2147483647)
