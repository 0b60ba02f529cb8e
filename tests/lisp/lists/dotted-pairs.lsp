; A dotted pair is a list of three elements whose middle one is a point.
(setq p (cons "a" "b"))       ; => ("a" . "b")
(car p)                       ; => "a"
(cdr p)                       ; => "b"
(cadr p)                      ; => .
(length p)                    ; => 3
(listp p)                     ; => T
(nth 2 p)                     ; => "b"
(last p)                      ; => "b"
(reverse p)                   ; => ("b" . "a")
(cdr (reverse p))             ; => "a"
(equal p (list "a" "." "b"))  ; => T
(cdr (cons 1 '(2 . 3)))       ; => (2 . 3)
; The point itself evaluates to itself.
.                             ; => .
