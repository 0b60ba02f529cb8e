; VL-REMOVE-NTH leaves out the element at an index counted from 0.
(vl-remove-nth 0 '(a b c))    ; => (B C)
(vl-remove-nth 1 '(a b c))    ; => (A C)
(vl-remove-nth 2 '(a b c))    ; => (A B)
(vl-remove-nth 0 '(a))        ; => ()
(vl-remove-nth 1 (cons 1 2))  ; => (1 2)
; Outside the list nothing is left out.
(vl-remove-nth 3 '(a b c))    ; => (A B C)
(vl-remove-nth -1 '(a b c))   ; => (A B C)
(vl-remove-nth 2147483647 '(a)) ; => (A)
(vl-remove-nth -2147483648 '(a)) ; => (A)
(vl-remove-nth 0 '())         ; => ()
; An integer and a list.
(vl-remove-nth 1.0 '(a b))    ; => nil
(vl-remove-nth "1" '(a b))    ; => nil
(vl-remove-nth 'a '(a b))     ; => nil
(vl-remove-nth '(1) '(a b))   ; => nil
(vl-remove-nth car '(a b))    ; => nil
(vl-remove-nth (lambda (x) x) '(a b)) ; => nil
(vl-remove-nth 0 5)           ; => nil
(vl-remove-nth 0 1.5)         ; => nil
(vl-remove-nth 0 'a)          ; => nil
(vl-remove-nth 0 "ab")        ; => nil
(vl-remove-nth 0 car)         ; => nil
(vl-remove-nth 0 (lambda (x) x)) ; => nil
; Too few and too many.
(vl-remove-nth)               ; => nil
(vl-remove-nth 0)             ; => nil
(vl-remove-nth 0 '(a b) '(c)) ; => (B)
; The list itself stays as it was.
(setq l '(1 2 3 4))           ; => (1 2 3 4)
(vl-remove-nth 1 l)           ; => (1 3 4)
l                             ; => (1 2 3 4)
