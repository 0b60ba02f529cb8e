; ENTMOD: always nil, whatever it is given.
(entmod)                      ; => nil
(entmod 5)                    ; => nil
(entmod "x")                  ; => nil
(entmod '())                  ; => nil
(entmod '(1))                 ; => nil
(entmod '((-1 . 1)))          ; => nil
(entmod '(1 2 3))             ; => nil
(entmod '((0 . "LINE") (8 . "A"))) ; => nil
(entmod '((-1 . 1) (8 . "A")))     ; => nil
(entmod '((-1) (8)))          ; => nil
(entmod '(() ()))             ; => nil
(entmod (entget (entlast)))   ; => nil
(entmod (list (cons -1 (entlast)) '(8 . "A") '(10 1.0 2.0))) ; => nil
(entmod '((8 . "A") (-1 . "7")) 5 6) ; => nil
