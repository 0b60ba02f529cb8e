; LAST is the last element.
(last '(1 2 3))               ; => 3
(last '(1 (2 3)))             ; => (2 3)
(last '(1))                   ; => 1
(last (cons 1 2))             ; => 2
(last '(()))                  ; => ()
(last '())                    ; => nil
(last "abc")                  ; => nil
(last 5)                      ; => nil
(last 1.5)                    ; => nil
(last 'a)                     ; => nil
(last car)                    ; => nil
(last (lambda (x) x))         ; => nil
(last)                        ; => nil
(last '(1 2) '(3 4))          ; => 2
