; SSNAME: exactly a set and an Integer; a position without a member gives nil.
(setq ss (ssget "X"))         ; => <Selection set: 1>
(ssname ss 0)                 ; => nil
(ssname ss -1)                ; => nil
(ssname ss 1.0)               ; => nil
(ssname ss "0")               ; => nil
(ssname ss)                   ; => nil
(ssname)                      ; => nil
(ssname ss 0 0)               ; => nil
(ssname 1 0)                  ; => nil
(ssname 0 ss)                 ; => nil
(ssname ss (sslength ss))     ; => nil
