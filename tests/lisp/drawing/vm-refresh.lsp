; VM-REFRESH: repaints the view, whatever it is given.
(vm-refresh)                  ; => nil
(vm-refresh 1)                ; => nil
(vm-refresh "x" '(1 2))       ; => nil
