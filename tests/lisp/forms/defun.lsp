; DEFUN binds a function to a name; it prints as its name.
(defun double (x) (* 2 x))    ; => DOUBLE
(double 4)                    ; => 8
double                        ; => DOUBLE
; All body forms are evaluated; the last gives the value.
(defun three () 1 2 3)        ; => THREE
(three)                       ; => 3
; Locals are the integer 0 at first.
(defun f (x / y) (setq y x) y) ; => F
(f 4)                         ; => 4
(defun g (/ y) y)             ; => G
(g)                           ; => 0
(defun h (a / b c) (list a b c)) ; => H
(h 1)                         ; => (1 0 0)
(defun local (/ v) (setq v 5) v) ; => LOCAL
(local)                       ; => 5
v                             ; error: ;error; undefined symbol 'V'
; The slash need not stand alone.
(defun tight (a/b) (list a b)) ; => TIGHT
(tight 1)                     ; => (1 0)
(defun no-locals (a /) a)     ; => NO-LOCALS
(no-locals 6)                 ; => 6
; Missing arguments are nil, surplus ones ignored, a name given twice has the later.
(defun two (a b) (list a b))  ; => TWO
(two 1)                       ; => (1 nil)
(two 1 2 3)                   ; => (1 2)
(defun twice (a a) a)         ; => TWICE
(twice 1 2)                   ; => 2
; A body without forms has no value but a message.
(defun empty ())              ; => EMPTY
(empty)                       ; error: ;error; undefined symbol 'BEGIN'
; Less than a name and a parameter list is nothing.
(defun)                       ; => nil
(defun lone)                  ; => nil
lone                          ; error: ;error; undefined symbol 'LONE'
; The C: of a command's name is not part of the function's.
(defun c:hello () (princ "hi")) ; => HELLO
(hello)                       ; shows: hi  ; => "hi"
(c:hello)                     ; error: ;error; undefined symbol 'C:HELLO'
; Recursion.
(defun fact (n) (if (< n 2) 1 (* n (fact (- n 1))))) ; => FACT
(fact 10)                     ; => 3628800
; Defined inside a call, it lives in the call's scope.
((lambda (x) (begin (defun inner () x) (inner))) 7) ; => 7
(inner)                       ; error: ;error; undefined symbol 'INNER'
; Defined again, it is replaced.
(defun double (x) (+ x 100))  ; => DOUBLE
(double 4)                    ; => 104
