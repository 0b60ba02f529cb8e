; PRIN1 shows a value as it prints, double quotes included.
(prin1 "abc")                 ; shows: "abc"  ; => "abc"
(prin1 5)                     ; shows: 5  ; => 5
(prin1 2.5)                   ; shows: 2.500  ; => 2.500
(prin1 'abc)                  ; shows: ABC  ; => ABC
(prin1 '(a "b"))              ; shows: (A "b")  ; => (A "b")
(prin1 (car '()))             ; shows: nil  ; => nil
(prin1 car)                   ; shows: <Proc>  ; => <Proc>
(list (prin1 (lambda (x) x)) 1) ; shows: ; => ( 1)
(prin1 "")                    ; shows: ""  ; => ""
(prin1 "one\ntwo")            ; shows: "one\ntwo"  ; => "one\ntwo"
(list (prin1) 1)              ; shows: ; => ( 1)
(prin1 "a" "b")               ; shows: "a"  ; => "a"
(strlen (prin1 "abc"))        ; shows: "abc"  ; => nil
