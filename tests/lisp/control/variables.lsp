; GETVAR and SETVAR on a host that has no variables.
(getvar "CLAYER")          ; => nil
(getvar)                   ; => nil
(getvar "A" "B")           ; => nil
(setvar "CLAYER" "0")      ; => nil
(setvar "CLAYER")          ; => nil
(setvar "OSMODE" 'a)       ; => nil
