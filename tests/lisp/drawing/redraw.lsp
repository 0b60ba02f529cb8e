; REDRAW: regenerates the drawing, whatever it is given.
(redraw)                      ; => nil
(redraw 1)                    ; => nil
(redraw (entlast) 3)          ; => nil
