; ENTNEXT: the next entity of the drawing. This drawing is empty.
(entnext)                     ; => nil
(entnext 5)                   ; => nil
(entnext "1")                 ; => nil
(entnext '(1 2))              ; => nil
(entnext (entnext))           ; => nil
(entnext (entlast) 5 "x")     ; => nil
(entnext 'a)                  ; => nil
(entnext nil)                 ; error: ;error; undefined symbol 'NIL'
entnext                       ; => <Proc>
