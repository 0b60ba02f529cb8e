; STRLEN counts the units of exactly one text.
(strlen "abc")                ; => 3
(strlen "")                   ; => 0
(strlen "a b")                ; => 3
(strlen "a\n")                ; => 3
; Units are those of UTF-16: a sign beyond the first 65536 counts twice.
(strlen "äöü")                ; => 3
(strlen "€")                  ; => 1
(strlen "😀")                 ; => 2
(strlen 5)                    ; => nil
(strlen 1.5)                  ; => nil
(strlen 'abc)                 ; => nil
(strlen '("abc"))             ; => nil
(strlen car)                  ; => nil
(strlen (lambda (x) x))       ; => nil
; Too few and too many.
(strlen)                      ; => nil
(strlen "a" "b")              ; => nil
