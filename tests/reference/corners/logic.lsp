; AND, OR and NOT evaluate everything, whatever counts.
(and)                       ; => nil
(or)                        ; => nil
(not)                       ; => nil
(begin)                     ; error: ;error; undefined symbol 'BEGIN'
(and 1 (setq a 5) (not t))  ; => nil
(and (not t) (setq a 6))    ; => nil
a                           ; => 6
(or (not t) (setq a 7))     ; => nil
a                           ; => 7
(or 1 (not t))              ; => T
(not 1 zzz)                 ; => nil
(not (not t))               ; => T
(begin 1 2)                 ; => 2
(begin begin)               ; error: ;error; undefined symbol 'BEGIN'
(and "nil")                 ; => nil
(or nil t)                  ; error: ;error; undefined symbol 'NIL'
