; An error among the arguments does not keep the call from taking place.
(setq n 1)                        ; => 1
(defun f (x) n)                   ; => F
(f zzz)                           ; error: ;error; undefined symbol 'ZZZ'
(defun f (x) (setq n 5) (+ n 1))  ; => F
(f zzz)                           ; => 6
(list zzz n)                      ; error: ;error; undefined symbol 'ZZZ'
(list (f zzz) n)                  ; => (6 5)
(if zzz 1 n)                      ; error: ;error; undefined symbol 'ZZZ'
(cond (zzz 1) (t 2))              ; error: ;error; undefined symbol 'ZZZ'
(5 zzz n)                         ; error: ;error; undefined symbol 'ZZZ'
((lambda (x) (setq n 7)) zzz)     ; => 7
(while zzz 1)                     ; error: ;error; undefined symbol 'ZZZ'
(repeat 2 zzz n)                  ; error: ;error; undefined symbol 'ZZZ'
(not zzz)                         ; error: ;error; undefined symbol 'ZZZ'
