; IF and COND with too few and too many elements.
(if)                         ; => nil
(if t)                       ; => nil
(if t 1)                     ; => 1
(if (not t) 1)               ; => nil
(if t 1 2 zzz)               ; => 1
(if "nil" 1 2)               ; => 2
(if '() 1 2)                 ; => 1
(if () 1 2)                  ; => 2
(cond)                       ; =>
(cond 5)                     ; => nil
(cond (5))                   ; => 5
(cond ((not t)))             ; => nil
(cond () (t 2))              ; => 2
(cond "nil" (1 3))           ; => 3
(cond (t 1 2 3))             ; => 3
(cond ((not t) zzz) (t))     ; => T
(cond (t (setq a 1) zzz 5))  ; error: ;error; undefined symbol 'ZZZ'
(cond ((not t) 1))           ; => nil
