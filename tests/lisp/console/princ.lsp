; PRINC shows a value without any double quote, and gives the printed text back with them.
(princ "abc")                 ; shows: abc  ; => "abc"
(princ 5)                     ; shows: 5  ; => 5
(princ 2.5)                   ; shows: 2.500  ; => 2.500
(princ 'abc)                  ; shows: ABC  ; => ABC
(princ '(1 "a" ("b" c)))      ; shows: (1 a (b C))  ; => (1 "a" ("b" C))
(princ '())                   ; shows: ()  ; => ()
(princ (car '()))             ; shows: nil  ; => nil
(princ car)                   ; shows: <Proc>  ; => <Proc>
(defun f (x) x)               ; => F
(princ f)                     ; shows: F  ; => F
(list (princ (lambda (x) x)) 1) ; shows: ; => ( 1)
; No escapes are interpreted.
(princ "one\ntwo")            ; shows: one\ntwo  ; => "one\ntwo"
; An empty text and no text at all both show an empty line.
(princ "")                    ; shows: ; => ""
(list (princ) 1)              ; shows: ; => ( 1)
; Further arguments are ignored.
(princ "a" "b")               ; shows: a  ; => "a"
; The result is a symbol, so that it counts as 0, has no length and compares by its text.
(strlen (princ "abc"))        ; shows: abc  ; => nil
(+ 1 (princ 5))               ; shows: 5  ; => 1
(eq (princ 5) "5")            ; shows: 5  ; => T
(strcat "<" (princ "a") ">")  ; shows: a  ; => "<"a">"
; Every call shows its own line, in order.
(list (princ "a") (princ "b")) ; shows: a  ; shows: b  ; => ("a" "b")
; An unbound argument is nil; behind an error the name PRINC itself is nil, and nothing is shown.
(princ zzz)                   ; shows: nil  ; error: ;error; undefined symbol 'ZZZ'
(list zzz (princ "a"))        ; error: ;error; undefined symbol 'ZZZ'
