; SSDEL: exactly an entity name and a set.
(setq ss (ssget "X"))         ; => <Selection set: 1>
(ssdel)                       ; => nil
(ssdel ss)                    ; => nil
(ssdel (entlast) ss)          ; => nil
(ssdel ss ss)                 ; => nil
(ssdel 5 ss)                  ; => nil
(ssdel "1" ss)                ; => nil
(ssdel (entlast) ss ss)       ; => nil
