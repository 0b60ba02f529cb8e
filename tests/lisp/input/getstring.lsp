; GETSTRING: the typed line.
(getstring)                      ; => ""
(getstring "Name: ")             ; => ""
(strcat "<" (getstring 1) ">")   ; => "<>"
