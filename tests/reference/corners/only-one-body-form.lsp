; LAMBDA evaluates its third element; DEFUN makes one of all forms.
((lambda (x) (setq a x) (setq b x)) 1)  ; => 1
a                                       ; => 1
b                                       ; error: ;error; undefined symbol 'B'
((lambda (x)) 1)                        ; => nil
((lambda) 1)                            ; => nil
(lambda)                                ; =>
(defun f ())                            ; => F
(f)                                     ; error: ;error; undefined symbol 'BEGIN'
(defun f)                               ; => nil
(defun)                                 ; => nil
(setq g (defun f (x) x 2 3))            ; => F
(g 1)                                   ; => 3
g                                       ; => F
