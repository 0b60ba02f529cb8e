; LOGIOR: the bits that are set in any argument.
(logior)                      ; => 0
(logior 1 2 4)                ; => 7
(logior 7)                    ; => 7
(logior 12 10)                ; => 14
(logior -2147483648 1)        ; => -2147483647
(logior 0 -1)                 ; => -1
; Integers, or nil: nothing partial comes back.
(logior 1 "x")                ; => nil
(logior "x" 1)                ; => nil
(logior 1.0)                  ; => nil
(logior 1 1.0)                ; => nil
(logior 'a)                   ; => nil
(logior '(1))                 ; => nil
(logior car)                  ; => nil
(logior (lambda (x) x))       ; => nil
(logior 1 2 'a)               ; => nil
(logior 1 2 '(1))             ; => nil
(logior 1 2 car)              ; => nil
(logior 1 2 (lambda (x) x))   ; => nil
