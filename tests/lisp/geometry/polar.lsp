; POLAR: the point at a distance in a direction.
(polar '(1 1) 0 2)            ; => (3.000 1.000)
(polar '(1.5 1) 0.0 2.0)      ; => (3.500 1.000)
(polar '(0 0) (/ pi 2) 2)     ; => (0.000 2.000)
(polar '(0 0) pi 2)           ; => (-2.000 0.000)
(polar '(5 5) 1 0)            ; => (5.000 5.000)
(polar '(0 0) 0 -2)           ; => (-2.000 0.000)
; Only X and Y count; the result has only these.
(polar '(1 1 7) 0 2)          ; => (3.000 1.000)
; What is no number counts as 0.
(polar '(0 0) "a" 1)          ; => (1.000 0.000)
(polar '(0 0) 'a 1)           ; => (1.000 0.000)
(polar '(0 0) '(1) 1)         ; => (1.000 0.000)
(polar '(0 0) car 1)          ; => (1.000 0.000)
(polar '(0 0) (lambda (x) x) 1) ; => (1.000 0.000)
(polar '(3 4) 1 "a")          ; => (3.000 4.000)
(polar '(3 4) 1 'a)           ; => (3.000 4.000)
(polar '(3 4) 1 '(1))         ; => (3.000 4.000)
(polar '(3 4) 1 car)          ; => (3.000 4.000)
(polar '("a" b) 0 1)          ; => (1.000 0.000)
; The first must be a list of two elements or more.
(polar '(1) 0 1)              ; => nil
(polar '() 0 1)               ; => nil
(polar 5 0 1)                 ; => nil
(polar 1.5 0 1)               ; => nil
(polar 'a 0 1)                ; => nil
(polar "1 2" 0 1)             ; => nil
(polar car 0 1)               ; => nil
(polar (lambda (x) x) 0 1)    ; => nil
; Too few and too many.
(polar)                       ; => nil
(polar '(1 1))                ; => nil
(polar '(1 1) 0)              ; => nil
(polar '(1 1) 0 2 5)          ; => (3.000 1.000)
