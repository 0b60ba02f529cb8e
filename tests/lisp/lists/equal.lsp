; EQUAL: the first operand decides whether numbers, texts or lists are compared.
(equal 1 1)                   ; => T
(equal 1 2)                   ; => nil
; Numbers compare by value.
(equal 2 2.0)                 ; => T
(equal 2.0 2)                 ; => T
(equal 2 2.1)                 ; => nil
(equal -0.0 0)                ; => T
; Every value has a number beside a number: 0 for what is none.
(equal 0 "x")                 ; => T
(equal 0.0 "x")               ; => T
(equal 0 'a)                  ; => T
(equal 0 '(1 2))              ; => T
(equal 0 car)                 ; => T
(equal 0 (lambda (x) x))      ; => T
(equal 1 "1")                 ; => nil
; Not the other way round: texts compare with texts.
(equal "x" 0)                 ; => nil
(equal "" 0)                  ; => T
(equal "1" 1)                 ; => nil
(equal 'a 0)                  ; => nil
; Texts compare unit by unit; types are not compared.
(equal "a" "a")               ; => T
(equal "a" "A")               ; => nil
(equal "a" "ab")              ; => nil
(equal 'abc 'ABC)             ; => T
(equal 'a "A")                ; => T
(equal "A" 'a)                ; => T
(equal 'a "a")                ; => nil
(equal "nil" (car '()))       ; => T
(equal "T" T)                 ; => T
; Functions have a name or none, and nothing else is compared.
(equal car cdr)               ; => T
(equal car "")                ; => T
(equal car 5)                 ; => T
(equal car 'a)                ; => nil
(equal (lambda (x) x) (lambda (y) 1)) ; => T
(defun f (x) x)               ; => F
(defun g (x) x)               ; => G
(equal f f)                   ; => T
(equal f g)                   ; => nil
(equal f "F")                 ; => T
; Lists compare element by element.
(equal '(1 (2 "a")) '(1 (2 "a"))) ; => T
(equal '(1 (2 "a")) '(1 (2 "b"))) ; => nil
(equal '(1 2) '(1 2 3))       ; => nil
(equal '(1 2 3) '(1 2))       ; => nil
(equal '(1 2) '(1.0 2.0))     ; => T
(equal '(0 "A") '("x" a))     ; => T
(equal '((1) 2) '((1) 3))     ; => nil
(equal (cons 1 2) '(1 . 2))   ; => T
(equal '(1) 1)                ; => nil
; An empty list equals any atom, but an atom seldom equals an empty list.
(equal '() '())               ; => T
(equal '() 5)                 ; => T
(equal '() "x")               ; => T
(equal '() (car '()))         ; => T
(equal '() car)               ; => T
(equal '(()) '(5))            ; => T
(equal '(5) '(()))            ; => nil
(equal (car '()) '())         ; => nil
(equal "" '())                ; => T
; Too few; a third argument is no tolerance.
(equal)                       ; => nil
(equal 1)                     ; => nil
(equal 1 1 2)                 ; => T
(equal 1 1.1 0.5)             ; => nil
