; PROMPT shows a text, a line for each piece between the two characters \n.
(prompt "abc")                ; shows: abc  ; => nil
(prompt "one\ntwo")           ; shows: one  ; shows: two  ; => nil
(prompt "x\n")                ; shows: x  ; shows: ; => nil
(prompt "\nx")                ; shows: ; shows: x  ; => nil
(prompt "\n")                 ; shows: ; shows: ; => nil
(prompt "a\n\nb")             ; shows: a  ; shows: ; shows: b  ; => nil
(prompt "")                   ; shows: ; => nil
; Neither an upper-case N nor a lone backslash parts a text.
(prompt "a\Nb\c")             ; shows: a\Nb\c  ; => nil
; What is no text shows its own text, which numbers do not have.
(prompt 'abc)                 ; shows: ABC  ; => nil
(prompt 5)                    ; shows: ; => nil
(prompt 1.5)                  ; shows: ; => nil
(prompt car)                  ; shows: ; => nil
(prompt (lambda (x) x))       ; shows: ; => nil
(defun f (x) x)               ; => F
(prompt f)                    ; shows: F  ; => nil
(prompt (car '()))            ; shows: nil  ; => nil
; A list is not shown at all.
(prompt '(1 2))               ; => nil
(prompt '())                  ; => nil
; Without an argument nothing is shown and the result is an empty text.
(prompt)                      ; => ""
(prompt "a" "b")              ; shows: a  ; => nil
