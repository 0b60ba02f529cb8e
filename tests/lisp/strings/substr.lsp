; SUBSTR is a part of a text; positions count from 1.
(substr "abcdef" 2 3)         ; => "bcd"
(substr "abcdef" 3)           ; => "cdef"
(substr "abcdef" 1)           ; => "abcdef"
(substr "abcdef" 6 1)         ; => "f"
(substr "abcdef" 2 0)         ; => ""
; Positions are held to the text.
(substr "abcdef" 7)           ; => ""
(substr "abcdef" 100 2)       ; => ""
(substr "abcdef" 5 100)       ; => "ef"
(substr "abcdef" 0)           ; => "abcdef"
(substr "abcdef" -5)          ; => "abcdef"
(substr "abcdef" 0 2)         ; => "ab"
(substr "abcdef" 3 -1)        ; => ""
(substr "abcdef" -2147483648) ; => "abcdef"
(substr "abcdef" 2147483647 2147483647) ; => ""
(substr "abcdef" 3 2147483647) ; => "cdef"
(substr "" 1)                 ; => ""
(substr "" 1 1)               ; => ""
; The first argument must be a text ...
(substr 5 1)                  ; => nil
(substr 1.5 1)                ; => nil
(substr 'abc 1)               ; => nil
(substr '("abc") 1)           ; => nil
(substr car 1)                ; => nil
(substr (lambda (x) x) 1)     ; => nil
; ... the others are not checked: what is no integer counts as 0.
(substr "abc" 2.0)            ; => "abc"
(substr "abc" "2")            ; => "abc"
(substr "abc" 'a)             ; => "abc"
(substr "abc" '(2))           ; => "abc"
(substr "abc" car)            ; => "abc"
(substr "abc" (lambda (x) x)) ; => "abc"
(substr "abc" 2 1.0)          ; => ""
(substr "abc" 2 "1")          ; => ""
(substr "abc" 2 'a)           ; => ""
(substr "abc" 2 '(1))         ; => ""
(substr "abc" 2 car)          ; => ""
(substr "abc" 2 (lambda (x) x)) ; => ""
; Too few and too many.
(substr)                      ; => nil
(substr "abc")                ; => nil
(substr "abc" 2 1 5)          ; => "b"
