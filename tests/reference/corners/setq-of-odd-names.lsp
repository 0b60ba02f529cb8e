; SETQ binds the text of whatever stands in the place of the name.
(setq "abc" 5)       ; => 5
(setq "ABC" 6)       ; => 6
abc                  ; => 6
(setq 5 1)           ; => 1
(setq nil 3)         ; => 3
nil                  ; => 3
(list nil nil)       ; => (3 3)
(setq "nil" 5)       ; => 5
(cond ((not t) 1))   ; => 5
(if (not t) 1 "no")  ; => "no"
(setq (a b) 2)       ; => 2
(setq 'quoted 3)     ; => 3
quoted               ; error: ;error; undefined symbol 'QUOTED'
(setq () 8)          ; => 8
