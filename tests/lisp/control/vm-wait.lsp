; VM-WAIT gives nil, at once for what is no pause.
(vm-wait 0)      ; => nil
(vm-wait -5)     ; => nil
(vm-wait 1.5)    ; => nil
(vm-wait)        ; => nil
(vm-wait "10")   ; => nil
(vm-wait 2)      ; => nil
