; SSLENGTH: exactly one set.
(setq ss (ssget "X"))         ; => <Selection set: 1>
(sslength ss)                 ; => 0
(sslength ss ss)              ; => nil
(sslength)                    ; => nil
(sslength 1)                  ; => nil
(sslength "1")                ; => nil
(sslength '(1))               ; => nil
(sslength (entlast))          ; => nil
