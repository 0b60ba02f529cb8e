; A text runs from a double quote to the next; there are no escapes.
"a b"                         ; => "a b"
"a(b)c"                       ; => "a(b)c"
""                            ; => ""
"it's"                        ; => "it's"
"a\n\t\\"                     ; => "a\n\t\\"
; What follows the closing quote up to a blank or a parenthesis belongs to the token, whose first
; and last characters are dropped.
"abc"def                      ; => "abc"de"
(list "abc"def)               ; => ("abc"de")
; A lone quote is the empty text; one without an end runs to the end.
"                             ; => ""
(list "abc                    ; => ("ab")
; A quote in the middle of a name does not begin a text.
'(a"b c")                     ; => (A"B C")
