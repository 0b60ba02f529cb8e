; INTERS: where two segments meet.
(inters '(0 0) '(2 2) '(0 2) '(2 0)) ; => (1.000 1.000)
(inters '(0 0) '(4 0) '(1 -1) '(1 1)) ; => (1.000 0.000)
(inters '(0 0 5) '(2 2 6) '(0 2 7) '(2 0 8)) ; => (1.000 1.000)
; Meeting exactly at an end is meeting.
(inters '(0 0) '(1 1) '(1 1) '(2 0)) ; => (1.000 1.000)
(inters '(3 1) '(1 1) '(3 0) '(3 2)) ; => (3.000 1.000)
(inters '(1 1) '(2 2) '(0 2) '(1 1)) ; => (1.000 1.000)
; Not meeting is told by the origin, not by nil.
(inters '(0 0) '(1 0) '(0 1) '(1 1)) ; => (0.000 0.000)
(inters '(0 0) '(4 0) '(1 0) '(2 0)) ; => (0.000 0.000)
(inters '(5 5) '(6 6) '(5 5) '(6 6)) ; => (0.000 0.000)
(inters '(1 1) '(2 2) '(0 5) '(1 4)) ; => (0.000 0.000)
(inters '(5 5) '(5 5) '(5 5) '(5 5)) ; => (0.000 0.000)
; The flag for endless lines does not exist.
(inters '(1 1) '(2 2) '(5 0) '(4 1) (car '())) ; => (0.000 0.000)
(inters '(1 1) '(2 2) '(5 0) '(4 1) T) ; => (0.000 0.000)
(inters '(0 0) '(2 2) '(0 2) '(2 0) T) ; => (1.000 1.000)
; What is missing or no number counts as 0.
(inters '() '(2 2) '(0 2) '(2 0)) ; => (1.000 1.000)
(inters '("a" b) '(2 2) '(c 2) '(2)) ; => (1.000 1.000)
; All four must be lists.
(inters 5 '(2 2) '(0 2) '(2 0)) ; => nil
(inters '(0 0) 1.5 '(0 2) '(2 0)) ; => nil
(inters '(0 0) '(2 2) "x" '(2 0)) ; => nil
(inters '(0 0) '(2 2) '(0 2) 'a) ; => nil
(inters car '(2 2) '(0 2) '(2 0)) ; => nil
(inters '(0 0) (lambda (x) x) '(0 2) '(2 0)) ; => nil
; Too few.
(inters)                      ; => nil
(inters '(0 0))               ; => nil
(inters '(0 0) '(2 2))        ; => nil
(inters '(0 0) '(2 2) '(0 2)) ; => nil
