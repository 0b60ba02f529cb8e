; Definitions within a call belong to the call.
(defun f () (undefined-yet) (define undefined-yet 5) (setq u 1) undefined-yet)  ; => F
(f)                                                           ; => 5
undefined-yet                                                 ; error: ;error; undefined symbol 'UNDEFINED-YET'
u                                                             ; => 1
(defun f (x) (define y x) (defun in () (define y 3) (setq x 4) y) (list (in) x y))  ; => F
(f 1)                                                         ; => (3 4 1)
