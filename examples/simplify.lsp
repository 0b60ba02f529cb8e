; simplify.lsp - derivatives of formulas, simplified and written as text.
;
; Teaches: programs as data. A formula is a number, a name, or a list of an operator and
; its arguments, as in (+ (^ x 2) 3). Functions take it apart with CAR and NTH and build
; a new one with LIST. The numbers in it are whole ones.
;
; Mind comparisons: = takes the second value to be of the first one's kind. A name counts
; as 0 next to a number, so that (= 0 'x) is true. The tests below look at the kind first,
; and whole formulas are compared by their printed text.
;
; Run it: vlisp run examples/simplify.lsp

; True when E is a number. SIN gives nil for all else.
(defun is-number (e)
  (if (sin e) T (not T)))

; True when E is the number N.
(defun is (e n)
  (and (is-number e) (= e n)))

; True when E is a list that begins with the operator OP.
(defun is-op (e op)
  (and (listp e) (= op (car e))))

; The first and the second argument of the operator in E.
(defun arg1 (e) (nth 1 e))
(defun arg2 (e) (nth 2 e))

; True when A and B are the same formula.
(defun same (a b)
  (= (strcat a) (strcat b)))

; X to the whole power N, which is not below 0. The name is the one used in formulas, so
; that a formula is a program, too.
(defun ^ (x n / out)
  (setq out 1)
  (repeat n
    (setq out (* out x)))
  out)

; The sum of A and B, simple formulas, as a simple formula. Its number goes last.
(defun make-sum (a b)
  (cond
    ((and (is-number a) (is-number b)) (+ a b))
    ((is-number a) (make-sum b a))
    ((is b 0) a)
    ((same a b) (make-product 2 a))
    ((and (is-op a '+) (is-number (arg2 a)))
      (if (is-number b)
        (make-sum (arg1 a) (+ (arg2 a) b))
        (make-sum (make-sum (arg1 a) b) (arg2 a))))
    ((and (is-op b '*) (< (arg1 b) 0))
      (make-difference a (make-product (- 0 (arg1 b)) (arg2 b))))
    (T (list '+ a b))))

; The difference of two simple formulas.
(defun make-difference (a b)
  (cond
    ((and (is-number a) (is-number b)) (- a b))
    ((is b 0) a)
    ((is a 0) (make-product -1 b))
    ((same a b) 0)
    ((and (is-op a '+) (same (arg1 a) b)) (arg2 a))
    (T (list '- a b))))

; The product of two simple formulas. Its number goes first.
(defun make-product (a b)
  (cond
    ((and (is-number a) (is-number b)) (* a b))
    ((is-number b) (make-product b a))
    ((is a 0) 0)
    ((is a 1) b)
    ((same a b) (make-power a 2))
    ((and (is-number a) (is-op b '*) (is-number (arg1 b)))
      (make-product (* a (arg1 b)) (arg2 b)))
    ((and (is-op a '*) (is-number (arg1 a)))
      (make-product (arg1 a) (make-product (arg2 a) b)))
    ((and (is-op b '*) (is-number (arg1 b)))
      (make-product (arg1 b) (make-product a (arg2 b))))
    (T (list '* a b))))

; The quotient of two simple formulas.
(defun make-quotient (a b)
  (cond
    ((is b 0) (list '/ a b))
    ((is b 1) a)
    ((is a 0) 0)
    ((same a b) 1)
    (T (list '/ a b))))

; A simple formula to the power N.
(defun make-power (a n)
  (cond
    ((is n 0) 1)
    ((is n 1) a)
    ((and (is-number a) (is-number n)) (^ a n))
    ((and (is-op a '^) (is-number (arg2 a)) (is-number n))
      (make-power (arg1 a) (* n (arg2 a))))
    (T (list '^ a n))))

; E simplified from the inside out. A second argument that is not there is nil and stays.
(defun simplify (e / a b)
  (if (listp e)
    (setq a (simplify (arg1 e))
          b (simplify (arg2 e))))
  (cond
    ((not (listp e)) e)
    ((is-op e '+) (make-sum a b))
    ((is-op e '-) (make-difference a b))
    ((is-op e '*) (make-product a b))
    ((is-op e '/) (make-quotient a b))
    ((is-op e '^) (make-power a b))
    (T (list (car e) a))))

; The derivative of E by the name X, not yet simple. Exponents are to be numbers.
(defun derivative (e x / a b da db)
  (if (listp e)
    (setq a (arg1 e)
          b (arg2 e)
          da (derivative a x)
          db (derivative b x)))
  (cond
    ((is-number e) 0)
    ((not (listp e)) (if (= e x) 1 0))
    ((is-op e '+) (list '+ da db))
    ((is-op e '-) (list '- da db))
    ((is-op e '*) (list '+ (list '* da b) (list '* a db)))
    ((is-op e '/) (list '/ (list '- (list '* da b) (list '* a db)) (list '^ b 2)))
    ((is-op e '^) (list '* (list '* b (list '^ a (- b 1))) da))
    ((is-op e 'sin) (list '* (list 'cos a) da))
    ((is-op e 'cos) (list '* (list '* -1 (list 'sin a)) da))))

; The value of E where X stands for V. There is no EVAL, but VL-REMOVE-IF runs the body of
; a quoted LAMBDA. As that sees no locals, the result is left in a global variable.
(defun value (e v)
  (vl-remove-if (list 'lambda '(x) (list 'setq 'result e)) (list v))
  result)

; The slope of E where X is V, measured between two points close by.
(defun slope (e v / step)
  (setq step 0.0001)
  (/ (- (value e (+ v step)) (value e (- v step))) (* 2 step)))

; No text in a file may hold a parenthesis: the reader would count it. The two marks are
; cut from the printed form of the empty list.
(setq opening (substr (strcat '()) 1 1))
(setq closing (substr (strcat '()) 2 1))

; How tightly the operator of E binds its arguments. A name or a function is one piece.
(defun tightness (e)
  (cond
    ((is-op e '+) 1)
    ((is-op e '-) 1)
    ((is-op e '*) 2)
    ((is-op e '/) 2)
    ((is-op e '^) 3)
    (T 4)))

; E as text, in parentheses if it binds less tightly than LEAST.
(defun wrapped (e least)
  (if (< (tightness e) least)
    (strcat opening (infix e) closing)
    (infix e)))

; E as people write it, with names in small letters.
(defun infix (e / own)
  (setq own (tightness e))
  (cond
    ((not (listp e)) (strcase (strcat e) T))
    ((= own 4) (strcat (infix (car e)) opening (infix (arg1 e)) closing))
    ((is-op e '^) (strcat (wrapped (arg1 e) 4) "^" (wrapped (arg2 e) 4)))
    (T (strcat (wrapped (arg1 e) own) " " (car e) " " (wrapped (arg2 e) (+ own 1))))))

; Prints the formula E and what is left of it.
(defun show-simple (e)
  (princ (strcat "  " (infix e) " = " (infix (simplify e)))))

; Prints E, its derivative by x, and the latter's value at 1.5 next to the slope measured.
(defun show (e / d)
  (setq d (simplify (derivative e 'x)))
  (princ "")
  (princ (strcat "f  = " (infix e)))
  (princ (strcat "f' = " (infix d)))
  (princ (strcat "       at 1.5: " (value d 1.5) ", measured " (slope e 1.5))))

(princ "Simplified")
(show-simple '(+ (* x 0) (* 1 y)))
(show-simple '(+ 2 (+ x 3)))
(show-simple '(* (* 2 x) (* 3 x)))
(show-simple '(- (+ a a) (* 2 a)))
(show-simple '(/ (^ (^ x 2) 3) (* 1 (+ y 0))))

(princ "")
(princ "Derivatives")
(show '(+ (^ x 2) (* 3 x)))
(show '(* (sin x) (cos x)))
(show '(sin (* 2 x)))
(show '(^ (+ (* 2 x) 1) 4))
(show '(/ x (+ x 1)))
(show '(/ (sin x) x))
