; Lists, the quote mark, and what is left open.
'(1 (2 3) "a")                ; => (1 (2 3) "a")
'(1(2)3)                      ; => (1 (2) 3)
'( 1   2 )                    ; => (1 2)
'(1.5(a)"b")                  ; => (1.500 (A) "b")
'()                           ; => ()
'(() (()))                    ; => (() (()))
' a                           ; => A
'(a 'b)                       ; => (A (QUOTE B))
'('(1 2))                     ; => ((QUOTE (1 2)))
; A quote mark inside a name is part of it; a second one begins a name.
'a'b                          ; => A'B
''a                           ; => 'A
; What is left open is closed by the end.
(list 1 (list 2 3             ; => (1 (2 3))
; A stray closing parenthesis is a name.
)                             ; error: ;error; undefined symbol ')'
; A point is a name like any other.
'(1 . 2)                      ; => (1 . 2)
'(1.2)                        ; => (1.200)
