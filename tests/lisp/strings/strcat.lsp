; STRCAT joins texts, and whatever else as it prints.
(strcat)                      ; => ""
(strcat "a")                  ; => "a"
(strcat "a" "b" "c")          ; => "abc"
(strcat "" "")                ; => ""
(strcat "a" 1 "b")            ; => "a1b"
(strcat "x" 2.5)              ; => "x2.500"
(strcat -12)                  ; => "-12"
(strcat 'abc)                 ; => "ABC"
(strcat T (car '()))          ; => "Tnil"
; A text inside a list keeps its quotes.
(strcat '(1 "a"))             ; => "(1 "a")"
(strcat '())                  ; => "()"
(strcat car)                  ; => "<Proc>"
(strcat "a" (lambda (x) x) "b") ; => "ab"
(defun f (x) x)               ; => F
(strcat "a" f)                ; => "aF"
; No escapes: a backslash is a unit like any other.
(strcat "a\n" "b")            ; => "a\nb"
(strlen (strcat "a\n" "b"))   ; => 4
; What was joined stays as it was.
(setq a "x")                  ; => "x"
(setq b (strcat a "y"))       ; => "xy"
(setq c (strcat a "z"))       ; => "xz"
(list a b c)                  ; => ("x" "xy" "xz")
