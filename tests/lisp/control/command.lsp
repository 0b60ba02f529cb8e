; COMMAND gives the text sent last, or nil when that was empty.
(command)                                     ; => nil
(command " ")                                 ; => nil
(command "")                                  ; => nil
(command "line")                              ; => "LINE"
(command "line" '(0 0) '(10.0 5.0) "")        ; => nil
(command "circle" '(0 0) 2.5)                 ; => "2.5000"
(command "circle" '(0 0) 3)                   ; => "3"
(command "layer" "m" "Walls")                 ; => "Walls"
(command "move" '(1))                         ; => "nil"
; A first argument without text is an empty line, whatever follows.
(command 5 "line")                            ; => nil
(command '(0 0) "line")                       ; => nil
