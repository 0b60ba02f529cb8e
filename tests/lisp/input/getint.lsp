; GETINT: no number is 0.
(getint)               ; => 0
(getint "How many: ")  ; => 0
