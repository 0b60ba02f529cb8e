; PRINT without an argument shows an empty line, without a line break or a blank around it.
(list (print) 1)              ; shows: ; => ( 1)
(listp (print))               ; shows: ; => nil
(equal (print) "")            ; shows: ; => T
; Behind an error the name itself is nil, and nothing is shown.
(list zzz (print 5))          ; error: ;error; undefined symbol 'ZZZ'
