; WCMATCH: the whole text must match one of the pattern's alternatives.
(wcmatch "LINE" "L*")         ; => T
(wcmatch "LINE" "LINE")       ; => T
(wcmatch "LINE" "LIN")        ; => nil
(wcmatch "LINE" "INE")        ; => nil
(wcmatch "LINE" "*")          ; => T
(wcmatch "" "*")              ; => T
(wcmatch "" "")               ; => T
(wcmatch "A" "")              ; => nil
; Case counts.
(wcmatch "LINE" "l*")         ; => nil
(wcmatch "ABC" "abc")         ; => nil
; @ a letter, # a digit, ? anything, . what is neither letter nor digit nor underscore.
(wcmatch "A1" "@#")           ; => T
(wcmatch "1A" "@#")           ; => nil
(wcmatch "z" "@")             ; => T
(wcmatch "_" "@")             ; => nil
(wcmatch "ä" "@")             ; => nil
(wcmatch "A" "?")             ; => T
(wcmatch "AB" "?")            ; => nil
(wcmatch "" "?")              ; => nil
(wcmatch "a.b" "a.b")         ; => T
(wcmatch "a-b" "a.b")         ; => T
(wcmatch "axb" "a.b")         ; => nil
(wcmatch "a_b" "a.b")         ; => nil
(wcmatch "a1b" "a.b")         ; => nil
; Alternatives.
(wcmatch "X" "A,B,X")         ; => T
(wcmatch "Y" "A,B,X")         ; => nil
(wcmatch "" "A,")             ; => T
(wcmatch "" ",A")             ; => T
(wcmatch "A,B" "A,B")         ; => nil
(wcmatch "A,B" "A`,B")        ; => T
(wcmatch "A" "A`,B")          ; => nil
; Brackets.
(wcmatch "B" "[~A]")          ; => T
(wcmatch "A" "[~A]")          ; => nil
(wcmatch "d" "[~abc]")        ; => T
(wcmatch "b" "[~abc]")        ; => nil
(wcmatch "BOX" "[A-C]*")      ; => T
(wcmatch "DOX" "[A-C]*")      ; => nil
(wcmatch "~" "[a~]")          ; => T
; A leading ~ does not negate: it anchors.
(wcmatch "ABC" "~ABC")        ; => T
(wcmatch "XYZ" "~ABC")        ; => nil
(wcmatch "~ABC" "~ABC")       ; => nil
; At the front of a later alternative it is a plain ~.
(wcmatch "~B" "A,~B")         ; => T
(wcmatch "B" "A,~B")          ; => nil
(wcmatch "X" "A,~B")          ; => nil
(wcmatch "A~B" "A~B")         ; => T
; A back quote takes the next character as it stands.
(wcmatch "*" "`*")            ; => T
(wcmatch "abc" "`*")          ; => nil
(wcmatch "" "`*")             ; => nil
(wcmatch "a.b" "a`.b")        ; => T
(wcmatch "a-b" "a`.b")        ; => nil
(wcmatch "(x)" "`(x`)")       ; => T
(wcmatch "`" "``")            ; => T
; A back quote at the end escapes nothing: its alternative matches nothing.
(wcmatch "A" "A`")            ; => nil
(wcmatch "A`" "A`")           ; => nil
(wcmatch "B" "B,A`")          ; => T
(wcmatch "" "`")              ; => nil
; The rest of the regular expressions stays active.
(wcmatch "aaa" "a+")          ; => T
(wcmatch "" "a+")             ; => nil
(wcmatch "ab" "a|ab")         ; => T
(wcmatch "abab" "(ab)+")      ; => T
(wcmatch "aa" "a{2}")         ; => T
(wcmatch "aaa" "a{2}")        ; => nil
(wcmatch "7" "\d")            ; => T
(wcmatch "x" "^x$")           ; => T
(wcmatch "abab" "(ab)\1")     ; => T
(wcmatch "abac" "(a[bc])\1")  ; => nil
; An alternative that is no regular expression matches nothing; the next one has its turn.
(wcmatch "A" "[")             ; => nil
(wcmatch "[" "[")             ; => nil
(wcmatch "A" "[,A")           ; => T
(wcmatch "A" "(,A")           ; => T
(wcmatch "A" "+,A")           ; => T
(wcmatch "(" "(")             ; => nil
(wcmatch "+" "+")             ; => nil
; Both arguments must be texts.
(wcmatch 5 "5")               ; => nil
(wcmatch 1.5 "*")             ; => nil
(wcmatch 'a "A")              ; => nil
(wcmatch '("a") "a")          ; => nil
(wcmatch car "*")             ; => nil
(wcmatch (lambda (x) x) "*")  ; => nil
(wcmatch "5" 5)               ; => nil
(wcmatch "5" 1.5)             ; => nil
(wcmatch "A" 'a)              ; => nil
(wcmatch "a" '("a"))          ; => nil
(wcmatch "a" car)             ; => nil
(wcmatch "" (lambda (x) x))   ; => nil
; Too few and too many.
(wcmatch)                     ; => nil
(wcmatch "A")                 ; => nil
(wcmatch "A" "A" "B")         ; => T
