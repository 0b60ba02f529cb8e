; VM-ENTEXT: an entity name alone will do, and an empty drawing has none.
(vm-entext)                   ; => nil
(vm-entext 1)                 ; => nil
(vm-entext "1")               ; => nil
(vm-entext '(1 2))            ; => nil
(vm-entext (entlast))         ; => nil
(vm-entext (ssget "X"))       ; => nil
