; QUOTE gives its first element, unevaluated.
(quote a)                     ; => A
(quote (a b))                 ; => (A B)
'(a b)                        ; => (A B)
'a                            ; => A
(quote (+ 1 2))               ; => (+ 1 2)
(quote)                       ; => nil
(quote a b)                   ; => A
'(quote a)                    ; => (QUOTE A)
'('a)                         ; => ((QUOTE A))
