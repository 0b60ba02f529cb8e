; COND gives the last value of the first clause whose test is true.
(cond ((< 2 1) "a") (T "b"))  ; => "b"
(cond ((< 1 2) "a") (T "b"))  ; => "a"
(cond (T 1 2 3))              ; => 3
(cond (5))                    ; => 5
(cond ((car '())) (6))        ; => 6
(cond ((car '()) 1))          ; => nil
(cond ((car '()) 1) ((car '()) 2)) ; => nil
(cond ((car '())))            ; => nil
; Neither the rest of a false clause nor the clauses behind a true one are evaluated.
(setq n 0)                    ; => 0
(cond ((car '()) (setq n 1)) (T 2) (T (setq n 3))) ; => 2
(cond (T 2) ((setq n 3) 4))   ; => 2
n                             ; => 0
; No clause at all gives a symbol without a name.
(list (cond) 1)               ; => ( 1)
