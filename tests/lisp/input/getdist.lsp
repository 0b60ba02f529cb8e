; GETDIST: a typed text is a number, and no number is 0.0.
(getdist)              ; => 0.000
(getdist "Radius: ")   ; => 0.000
(getdist '(1 2))       ; => 0.000
