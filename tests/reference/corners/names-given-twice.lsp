; Of a name given twice the later one counts.
(defun f (x x) x)              ; => F
(f 1 2)                        ; => 2
(f 1)                          ; => nil
(defun f (x / x) x)            ; => F
(f 5)                          ; => 0
((lambda (x x) (list x)) 1 2)  ; => (2)
