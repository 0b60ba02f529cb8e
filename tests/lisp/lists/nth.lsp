; NTH is the element at an index counted from 0.
(nth 0 '(a b))                ; => A
(nth 1 '(a b))                ; => B
(nth 2 '(a b))                ; => nil
(nth -1 '(a b))               ; => nil
(nth -2147483648 '(a b))      ; => nil
(nth 2147483647 '(a b))       ; => nil
(nth 0 '((a b)))              ; => (A B)
(nth 1 (cons 1 2))            ; => .
(nth 0 '())                   ; => nil
; The index must be an integer.
(nth 1.0 '(a b))              ; => nil
(nth "0" '(a b))              ; => nil
(nth 'a '(a b))               ; => nil
(nth '(0) '(a b))             ; => nil
(nth car '(a b))              ; => nil
(nth (lambda (x) x) '(a b))   ; => nil
; An atom has no element; a function has those of its LAMBDA form.
(nth 0 'a)                    ; => nil
(nth 0 5)                     ; => nil
(nth 0 1.5)                   ; => nil
(nth 0 "abc")                 ; => nil
(nth 0 car)                   ; => nil
(nth 1 (lambda (x) x))        ; => (X)
; Too few and too many.
(nth)                         ; => nil
(nth 0)                       ; => nil
(nth 0 '(a b) '(c d))         ; => A
