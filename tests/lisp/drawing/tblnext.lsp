; TBLNEXT: the block table alone, and here it is empty.
(tblnext "BLOCK")             ; => nil
(tblnext "block" T)           ; => nil
(tblnext "BLOCK" (car ()))    ; => nil
(tblnext 'BLOCK)              ; => nil
(tblnext 'block T)            ; => nil
(tblnext "LAYER")             ; => nil
(tblnext "LAYER" T)           ; => nil
(tblnext "")                  ; => nil
(tblnext)                     ; => nil
(tblnext 5)                   ; => nil
(tblnext '("BLOCK"))          ; => nil
(tblnext "BLOCK" T T)         ; => nil
(assoc 2 (tblnext "BLOCK" T)) ; => nil
