; SSADD: an entity name comes first; without one no set is made.
(ssadd)                       ; => nil
(ssadd 5)                     ; => nil
(ssadd "1")                   ; => nil
(ssadd (entlast))             ; => nil
(ssadd (entlast) (ssget "X")) ; => nil
(ssadd (ssget "X"))           ; => nil
(ssget "X")                   ; => <Selection set: 3>
