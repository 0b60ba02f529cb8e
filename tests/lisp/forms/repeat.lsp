; REPEAT evaluates its forms a number of times; its value is the last one.
(setq n 0)                    ; => 0
(repeat 3 (setq n (+ n 1)))   ; => 3
n                             ; => 3
(repeat 2 (setq n (+ n 1)) "x") ; => "x"
n                             ; => 5
(repeat 0 (setq n 99))        ; => nil
(repeat -1 (setq n 99))       ; => nil
(repeat 3)                    ; => nil
(repeat (+ 1 1) 7)            ; => 7
; The count must be an integer; otherwise nothing is evaluated.
(repeat 2.0 (setq n 99))      ; => nil
(repeat "2" (setq n 99))      ; => nil
(repeat 'a (setq n 99))       ; => nil
(repeat '(2) (setq n 99))     ; => nil
(repeat car (setq n 99))      ; => nil
(repeat T (setq n 99))        ; => nil
(repeat)                      ; => nil
n                             ; => 5
; The count is evaluated once.
(setq c 2)                    ; => 2
(repeat c (setq c 10))        ; => 10
