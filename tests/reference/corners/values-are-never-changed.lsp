; One list or text that grows in two ways is two.
(setq l '(1 2))                           ; => (1 2)
(setq m (append l '(3)))                  ; => (1 2 3)
(setq n (append l '(4)))                  ; => (1 2 4)
(setq o (cons 0 m))                       ; => (0 1 2 3)
(setq l (cdr m))                          ; => (2 3)
(list l m n o)                            ; => ((2 3) (1 2 3) (1 2 4) (0 1 2 3))
(setq s (strcat "a" "b"))                 ; => "ab"
(setq r (strcat s "1") q (strcat s "2"))  ; => "ab2"
(list s r q (strcat (substr r 2) "x") r)  ; => ("ab" "ab1" "ab2" "b1x" "ab1")
(defun f (l) (setq l (append l '(9))) l)  ; => F
(list (f m) m)                            ; => ((1 2 3 9) (1 2 3))
(repeat 3 (setq m (append m m)))          ; => (1 2 3 1 2 3 1 2 3 1 2 3 1 2 3 1 2 3 1 2 3 1 2 3)
(length m)                                ; => 24
o                                         ; => (0 1 2 3)
