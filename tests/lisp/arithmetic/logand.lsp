; LOGAND: the bits that are set in every argument.
(logand)                      ; => 0
(logand 12 10)                ; => 8
(logand 7)                    ; => 7
(logand 7 14 28)              ; => 4
(logand -1 5)                 ; => 5
(logand -1 -2147483648)       ; => -2147483648
; Integers, or nil: nothing partial comes back.
(logand 1.0 1)                ; => nil
(logand 1 1.0)                ; => nil
(logand 0 "x")                ; => nil
(logand 'a)                   ; => nil
(logand "1")                  ; => nil
(logand '(1))                 ; => nil
(logand car)                  ; => nil
(logand (lambda (x) x))       ; => nil
(logand 1.5)                  ; => nil
(logand 1 2 'a)               ; => nil
(logand 1 2 '(1))             ; => nil
(logand 1 2 car)              ; => nil
(logand 1 2 (lambda (x) x))   ; => nil
