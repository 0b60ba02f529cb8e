; ENTGET: an entity as a list. Only an entity name will do, and an empty drawing has none.
(entget)                      ; => nil
(entget 5)                    ; => nil
(entget "12")                 ; => nil
(entget 1.0)                  ; => nil
(entget '(1 2))               ; => nil
(entget 'a)                   ; => nil
(entget car)                  ; => nil
(entget (entlast))            ; => nil
(entget (ssget "X"))          ; => nil
(assoc 0 (entget (entlast)))  ; => nil
(cdr (assoc 8 (entget (entnext)))) ; => nil
