; WHILE and REPEAT without what they need.
(while)                           ; => nil
(while ())                        ; => nil
(setq n 3)                        ; => 3
(while (> n 0) (setq n (- n 1)))  ; => nil
n                                 ; => 0
(repeat)                          ; => nil
(repeat 3)                        ; => nil
(repeat 3 7)                      ; => 7
(repeat 0 7)                      ; => nil
(repeat -1 7)                     ; => nil
(repeat 2.0 7)                    ; => nil
(repeat "3" 7)                    ; => nil
(repeat 2 (setq n (+ n 1)) n)     ; => 2
(repeat n (setq n (+ n 1)))       ; => 4
n                                 ; => 4
