; A merge sort of 100,000 numbers. What is shown depends on the place of every one of them.
(defun merge (a b / merged)
  (setq merged '())
  (while (and a b)
    (if (< (car b) (car a))
      (setq merged (append merged (list (car b))) b (cdr b))
      (setq merged (append merged (list (car a))) a (cdr a))))
  (append merged (if a a b)))

(defun merge-sort (l / half left)
  (setq half (/ (length l) 2))
  (if (= half 0)
    l
    (begin
      (setq left '())
      (repeat half
        (setq left (append left (list (car l))))
        (setq l (cdr l)))
      (merge (merge-sort left) (merge-sort l)))))

(defun remainder (n divisor)
  (- n (* divisor (/ n divisor))))

(defun main (/ numbers n sum)
  (setq numbers '() n 1)
  (repeat 100000
    (setq n (remainder (+ (* n 1664) 1013) 1000003))
    (setq numbers (cons n numbers)))
  (setq numbers (merge-sort numbers) sum 0)
  (while numbers
    (setq sum (remainder (+ (* sum 31) (car numbers)) 1000003))
    (setq numbers (cdr numbers)))
  (princ sum))

(main)
