; SETQ with no pair, half a pair, several.
(setq)                                             ; =>
(setq a)                                           ; => nil
(setq a 1 b)                                       ; => nil
(list a b)                                         ; => (1 nil)
(setq a 1 b (+ a 1) a (+ b 1))                     ; => 3
a                                                  ; => 3
(defun f (a / b) (setq a 2 b 3 c 4) (list a b c))  ; => F
(f 1)                                              ; => (2 3 4)
(list a b c)                                       ; => (3 2 4)
