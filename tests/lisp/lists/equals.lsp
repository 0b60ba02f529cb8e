; = is the same function as EQUAL, so it compares texts and lists too.
(= 2 2.0)                     ; => T
(= 1 2)                       ; => nil
(= "a" "a")                   ; => T
(= "a" "A")                   ; => nil
(= 'a "A")                    ; => T
(= 0 "x")                     ; => T
(= "x" 0)                     ; => nil
(= '(1 (2 "a")) '(1 (2 "a"))) ; => T
(= '(1 2) '(1 2 3))           ; => nil
(= '() 5)                     ; => T
(= car cdr)                   ; => T
(= (lambda (x) x) "")         ; => T
; Two arguments are compared, whatever follows.
(=)                           ; => nil
(= 1)                         ; => nil
(= 1 1 2)                     ; => T
(= 1 2 1)                     ; => nil
