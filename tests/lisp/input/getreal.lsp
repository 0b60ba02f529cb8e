; GETREAL: no number is 0.0.
(getreal)             ; => 0.000
(getreal "Height: ")  ; => 0.000
