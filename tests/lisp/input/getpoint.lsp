; GETPOINT on a host that answers every request with an empty typed line.
(getpoint)                         ; => nil
(getpoint "Corner: ")              ; => nil
(getpoint '(1.0 2.0) "Corner: ")   ; => nil
(getpoint 5 'a '(1))               ; => nil
