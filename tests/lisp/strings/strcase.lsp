; STRCASE makes upper case, or lower case when its flag's text is T.
(strcase "aGe")               ; => "AGE"
(strcase "aGe" T)             ; => "age"
(strcase "aGe" "T")           ; => "age"
(strcase "aGe" 'T)            ; => "age"
(strcase "aGe" (car '()))     ; => "AGE"
(strcase "aGe" "t")           ; => "AGE"
(strcase "aGe" "TT")          ; => "AGE"
(strcase "aGe" "yes")         ; => "AGE"
(strcase "aGe" 1)             ; => "AGE"
(strcase "aGe" 1.5)           ; => "AGE"
(strcase "aGe" '(T))          ; => "AGE"
(strcase "aGe" car)           ; => "AGE"
(strcase "aGe" (lambda (x) x)) ; => "AGE"
(strcase "aGe" 'a)            ; => "AGE"
(strcase "")                  ; => ""
(strcase "a1-b_[`]{@}")       ; => "A1-B_[`]{@}"
(strcase "A1-B_[`]{@}" T)     ; => "a1-b_[`]{@}"
; Case is that of the ASCII letters, on every system.
(strcase "äß")                ; => "äß"
(strcase "ÄÖ" T)              ; => "ÄÖ"
(strcase 5)                   ; => nil
(strcase 1.5)                 ; => nil
(strcase 'a)                  ; => nil
(strcase '("a"))              ; => nil
(strcase car)                 ; => nil
(strcase (lambda (x) x))      ; => nil
; Too few and too many.
(strcase)                     ; => nil
(strcase "aGe" T 1)           ; => "age"
(strcase "aGe" 1 T)           ; => "AGE"
; The text itself stays as it was.
(setq s "aGe")                ; => "aGe"
(strcase s)                   ; => "AGE"
s                             ; => "aGe"
