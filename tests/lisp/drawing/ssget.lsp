; SSGET: of an empty drawing the set is empty, and every call makes another.
(ssget "X")                   ; => <Selection set: 1>
(ssget "X")                   ; => <Selection set: 2>
(ssget 'x)                    ; => <Selection set: 3>
(sslength (ssget "X"))        ; => 0
; A filter makes two: the set itself, and that of everything which the filter walks.
(ssget "X" '((0 . "LINE")))   ; => <Selection set: 5>
(ssget "X")                   ; => <Selection set: 7>
(sslength (ssget "X" '()))    ; => 0
(sslength (ssget "X" '((0 . "LINE") (8 . "0")) 5)) ; => 0
; What is not the text X is a prompt; nobody selects anything here.
(ssget)                       ; => nil
(ssget "x")                   ; => nil
(ssget "Walls: ")             ; => nil
(ssget 5)                     ; => nil
(ssget '(1 2))                ; => nil
; The function that walks may be redefined. What it gives must be a list of data lists.
(defun ssfilter (f) (prin1 f) f) ; => SSFILTER
(sslength (ssget "X" '((0 . "LINE")))) ; shows: ((0 . "LINE")) ; => 0
(sslength (ssget "X" 5))      ; shows: 5 ; => 0
(sslength (ssget "X"))        ; => 0
(setq ssfilter 5)             ; => 5
(sslength (ssget "X" '((0 . "LINE")))) ; => 0
