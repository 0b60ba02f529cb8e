; A loop makes no scopes; calls do.
(defun f (/ l i) (setq l '() i 0) (while (< i 3) (setq l (cons (lambda () i) l)) (setq i (+ i 1))) (list ((car l)) ((last l))))  ; => F
(f)                                                           ; => (3 3)
(defun g (l) (if (nullp l) '() (cons (lambda (y) (list (car l) y)) (if (= (length l) 1) '() (g (cdr l))))))  ; => G
((cadr (g '(1 2 3))) 'b)                                      ; => (2 B)
