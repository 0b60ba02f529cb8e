; ENTLAST: the last entity of the drawing. This drawing is empty; arguments are ignored.
(entlast)                     ; => nil
(entlast 5)                   ; => nil
(entlast (entnext) "x")       ; => nil
(eq (entlast) (entnext))      ; => T
