; /= is the opposite of EQUAL for atoms; lists differ only when every pair of elements does.
(/= 1 2)                      ; => T
(/= 1 1)                      ; => nil
(/= 2 2.0)                    ; => nil
(/= 2.5 2)                    ; => T
(/= 0 "x")                    ; => nil
(/= 1 "1")                    ; => T
(/= 0 '(1))                   ; => nil
(/= "a" "a")                  ; => nil
(/= "a" "A")                  ; => T
(/= 'a "A")                   ; => nil
(/= 'a 'b)                    ; => T
(/= "x" 0)                    ; => T
(/= car cdr)                  ; => nil
(/= (lambda (x) x) "")        ; => nil
(/= (lambda (x) x) "a")       ; => T
; Lists of different lengths are not reported as different.
(/= '(1 2) '(1 2 3))          ; => nil
(/= '(1) 5)                   ; => nil
; One equal pair is enough for nil.
(/= '(1 2) '(1 3))            ; => nil
(/= '(1 2) '(3 2))            ; => nil
(/= '(1 2) '(3 4))            ; => T
(/= '((1 2)) '((3 4)))        ; => T
(/= '((1 2)) '((1 4)))        ; => nil
(/= '((1) 2) '((3 4) 5))      ; => nil
; Empty lists hold no equal pair.
(/= '() '())                  ; => T
(/= '() 5)                    ; => T
(/= '(()) '(()))              ; => T
; Too few and too many.
(/=)                          ; => nil
(/= 1)                        ; => nil
(/= 1 2 1)                    ; => T
