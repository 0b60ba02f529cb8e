; LAMBDA makes a function without a name; it prints as nothing.
((lambda (x) (* 2 x)) 4)      ; => 8
(list (lambda (x) x) 1)       ; => ( 1)
; A list ending in one keeps the blank in front of it.
(list 'a (lambda (x) x))      ; => (A )
; Of several body forms the first alone is evaluated.
((lambda (x) x 7) 3)          ; => 3
((lambda () 5))               ; => 5
((lambda (x y) y) 1)          ; => nil
((lambda (x) x) 1 2)          ; => 1
((lambda (x x) x) 1 2)        ; => 2
(begin (setq f (lambda (x) (+ x 1))) 1) ; => 1
(f 2)                         ; => 3
; The scope in which it was made goes with it.
(defun adder (n) (lambda (x) (+ x n))) ; => ADDER
((adder 3) 4)                 ; => 7
; A function without a body gives nil.
((lambda (x)) 1)              ; => nil
((lambda))                    ; => nil
