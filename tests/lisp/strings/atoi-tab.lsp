; White space in front of a number is skipped: a tab too.
(atoi "	 42")                  ; => 42
(atoi "4	2")                    ; => 4
