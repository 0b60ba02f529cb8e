; A predicate may be a list made by the program, with functions as elements.
(vl-remove-if (list 'lambda '(x) (list car 'x)) '((1) (2)))   ; => ((1) (2))
(vl-remove-if (list 'lambda '(x) (list (lambda (y) (< y 2)) 'x)) '(1 2 3))  ; => (2 3)
(vl-remove-if (list 1 '(x) (list '< 'x 2)) '(1 2 3))          ; => (2 3)
(setq n 0)                                                    ; => 0
(vl-remove-if (list 1 '(x) (append '(setq n) (list (list '+ 'n 'x)))) '(1 2 3))  ; => ()
n                                                             ; => 6
(vl-remove-if (cons 1 (cons '(x) (list 'x))) (list 1 (not t) 2))  ; => (nil)
(defun named (x) x)                                           ; => NAMED
(setq l '())                                                  ; => ()
(vl-remove-if (list 1 '(x) (list 'setq 'l (list 'cons named 'l))) '(1))  ; => ()
l                                                             ; => (NAMED)
((car l) 5)                                                   ; => 5
