; A token is a number when digits and points follow a digit, or a minus and a digit.
(list 12 -7 3. 0.25 -0.5)     ; => (12 -7 3.000 0.250 -0.500)
(list 1.2.3)                  ; => (1.200)
(list 007)                    ; => (7)
5                             ; => 5
-5                            ; => -5
; All else is a name.
'(- +5 .5 -.5 1e5 1a -a --5 1-2 -5-) ; => (- +5 .5 -.5 1E5 1A -A --5 1-2 -5-)
+5                            ; error: ;error; undefined symbol '+5'
.5                            ; error: ;error; undefined symbol '.5'
; Limits.
2147483647                    ; => 2147483647
-2147483648                   ; => -2147483648
; Names are folded to upper case; texts are not.
'(setq Setq SETQ)             ; => (SETQ SETQ SETQ)
(setq MiXed 1)                ; => 1
mixed                         ; => 1
"MiXed"                       ; => "MiXed"
'nil                          ; => NIL
; Only the first expression of a text is read.
1 2                           ; => 1
(+ 1 2) (princ "x")           ; => 3
