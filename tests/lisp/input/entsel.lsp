; ENTSEL: a reply that is no picked object is nil.
(entsel)           ; => nil
(entsel "Line: ")  ; => nil
(car (entsel))     ; => nil
