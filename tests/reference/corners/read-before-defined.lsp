; A name means what it means at the moment, also before the same call defines it.
(setq v 'outer)                                               ; => OUTER
(defun f (c / r) (setq r (list v)) (if c (define v 'inner)) (setq r (cons v r)) (setq v (list v)) (cons v r))  ; => F
(f t)                                                         ; => ((INNER) INNER OUTER)
v                                                             ; => OUTER
(f (not t))                                                   ; => ((OUTER) OUTER OUTER)
v                                                             ; => (OUTER)
(f t)                                                         ; => ((INNER) INNER (OUTER))
(defun g (c) (define r (list (h))) (if c (defun h () 2)) (cons (h) r))  ; => G
(defun h () 1)                                                ; => H
(g (not t))                                                   ; => (1 1)
(g t)                                                         ; => (2 1)
(h)                                                           ; => 1
