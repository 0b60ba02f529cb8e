; ask-box.lsp - asks for a corner, a size and a name, and draws a box with its name in it.
;
; Teaches: GETPOINT, GETDIST, GETREAL and GETSTRING, what they give when the user gives up,
; and a command of one's own.
;
; Run it: vlisp run --input examples/ask-box.input examples/ask-box.lsp
;
; Without --input the answers are typed. A point is typed as x,y, or as @x,y from the point
; given last; a distance as a number, or as two points.

; ---- Asking ---------------------------------------------------------------------------

; A distance above 0. GETDIST gives 0 for Enter and for what is no number, so the question
; is asked again, three times at most: who has given up must not be held.
(defun ask-distance (question / tries answer)
  (setq answer 0.0)
  (while (and (< tries 3) (<= answer 0))
    (setq answer (getdist question))
    (setq tries (+ tries 1)))
  answer)

; A text, or PRESET when nothing is typed. A cancelled GETSTRING gives nil.
(defun ask-text (question preset / answer)
  (setq answer (getstring (strcat question " <" preset ">: ")))
  (if (and answer (/= answer "")) answer preset))

; ---- Drawing --------------------------------------------------------------------------

; The rectangle from CORNER, WIDTH to the right and HEIGHT up.
(defun draw-rectangle (corner width height / x y)
  (setq x (car corner))
  (setq y (cadr corner))
  (command "PLINE" corner
                   (list (+ x width) y)
                   (list (+ x width) (+ y height))
                   (list x (+ y height))
                   "Close"))

; TEXT in the box, a tenth of the box's height away from its corner, turned by ANGLE degrees.
(defun draw-name (corner height angle text / gap)
  (setq gap (/ height 10))
  (command "TEXT" (list (+ (car corner) gap) (+ (cadr corner) gap)) gap angle text))

; ---- The command ----------------------------------------------------------------------

(defun draw-box (corner width height)
  (draw-rectangle corner width height)
  (draw-name corner height
             (getreal "Angle of the name in degrees: ")
             (ask-text "Name" "Box")))

; GETPOINT gives nil for whatever is no point: so the user gives up.
(defun c:askbox (/ corner width height)
  (setq corner (getpoint "Corner of the box: "))
  (if corner
    (begin
      (setq width (ask-distance "Width: "))
      (setq height (ask-distance "Height: "))
      (if (and (> width 0) (> height 0))
        (draw-box corner width height)
        (princ "A box without a size is not drawn.")))
    (princ "No box is drawn.")))

(askbox)
(command "LIST" "ALL" "")
(askbox)
