; flange.lsp - draws a flange, and beside it a table of its holes.
;
; Teaches: layers, circles, lines and texts through COMMAND, points from POLAR, and reading
; a drawing back: the table is made from the circles that are found on the layer HOLES, not
; from the numbers that they were drawn with.
;
; COMMAND writes reals with four decimals, and the coordinates of points with three. So the
; holes that are read back stand on rounded places.
;
; Run it: vlisp run examples/flange.lsp

; ---- What to draw, in millimetres -----------------------------------------------------

(setq centre '(100.0 100.0))
(setq outer-diameter 160.0)
(setq bore-diameter 70.0)
(setq bolt-circle-diameter 120.0)
(setq hole-diameter 14.0)
(setq hole-count 8)

; How far centre lines reach beyond what they mark.
(setq overshoot 5.0)

; The table: its upper left corner, where its columns begin, its lines.
(setq table-corner '(200.0 160.0))
(setq column-offsets '(0.0 16.0 46.0 76.0))
(setq table-width 100.0)
(setq row-height 8.0)
(setq text-height 4.0)

; ---- Drawing --------------------------------------------------------------------------

; Makes the layer NAME, in COLOUR (1 red, 2 yellow, 3 green, 4 cyan, 7 white), and draws on
; it from now on. The empty text at the end is the Enter that ends the command.
(defun make-layer (name colour)
  (command "LAYER" "Make" name "Color" colour name ""))

; A circle around AT.
(defun draw-circle (at diameter)
  (command "CIRCLE" at (/ diameter 2)))

; A straight line.
(defun draw-line (from to)
  (command "LINE" from to ""))

; VALUE, a text or a number, upright at AT.
(defun draw-text (at value)
  (command "TEXT" at text-height 0 (strcat value)))

; The point DX to the right of P and DY above it.
(defun shifted (p dx dy)
  (list (+ (car p) dx) (+ (cadr p) dy)))

; ---- The flange -----------------------------------------------------------------------

; The direction of hole number N, counted from 0. The holes lie on both sides of the centre
; lines, as is the custom: the first half a step above the horizontal.
(defun hole-angle (n)
  (/ (* 2 pi (+ n 0.5)) hole-count))

; The centre of hole number N.
(defun hole-centre (n)
  (polar centre (hole-angle n) (/ bolt-circle-diameter 2)))

; All holes, counter-clockwise.
(defun draw-holes (/ n)
  (repeat hole-count
    (draw-circle (hole-centre n) hole-diameter)
    (setq n (+ n 1))))

; The mark of hole number N: a line along the direction in which it lies.
(defun draw-hole-mark (n / reach)
  (setq reach (+ (/ hole-diameter 2) overshoot))
  (draw-line (polar (hole-centre n) (hole-angle n) (- 0 reach))
             (polar (hole-centre n) (hole-angle n) reach)))

; The two lines through the centre, the bolt circle, and the marks of the holes.
(defun draw-centre-lines (/ reach n)
  (setq reach (+ (/ outer-diameter 2) overshoot))
  (draw-line (shifted centre (- 0 reach) 0) (shifted centre reach 0))
  (draw-line (shifted centre 0 (- 0 reach)) (shifted centre 0 reach))
  (draw-circle centre bolt-circle-diameter)
  (repeat hole-count
    (draw-hole-mark n)
    (setq n (+ n 1))))

(defun draw-flange ()
  (make-layer "OUTLINE" 7)
  (draw-circle centre outer-diameter)
  (draw-circle centre bore-diameter)
  (make-layer "HOLES" 1)
  (draw-holes)
  (make-layer "CENTRES" 3)
  (draw-centre-lines))

; ---- Reading the drawing --------------------------------------------------------------

; The value of the entry CODE of an entity data list.
(defun field (code data)
  (cdr (assoc code data)))

; What ENTGET gives for each member of a selection set.
(defun data-of (set / index found)
  (setq found '())
  (repeat (sslength set)
    (setq found (append found (list (entget (ssname set index)))))
    (setq index (+ index 1)))
  found)

; The entity data lists of the holes, in the order in which they were drawn.
(defun holes ()
  (data-of (ssget "X" '((0 . "CIRCLE") (8 . "HOLES")))))

; X without the dust of sines and cosines, which would print as -0.000.
(defun clean (x)
  (if (and (< -0.0005 x) (< x 0.0005)) 0.0 x))

; One line of the table: the number of a hole, its x and y from the centre of the flange,
; and its diameter.
(defun hole-row (number hole / at)
  (setq at (field 10 hole))
  (list number
        (clean (- (car at) (car centre)))
        (clean (- (cadr at) (cadr centre)))
        (* 2 (field 40 hole))))

; All lines of the table.
(defun hole-rows (/ rest number rows)
  (setq rest (holes))
  (setq rows '())
  (while (not (nullp rest))
    (setq number (+ number 1))
    (setq rows (append rows (list (hole-row number (car rest)))))
    (setq rest (cdr rest)))
  rows)

; ---- The table ------------------------------------------------------------------------

; Where the texts of line ROW begin; the titles are line 0.
(defun row-start (row)
  (shifted table-corner 0 (- 0 (* row row-height))))

; A line below the texts of line ROW, as wide as the table.
(defun draw-rule (row / left)
  (setq left (shifted (row-start row) 0 (/ row-height -4)))
  (draw-line left (shifted left table-width 0)))

; VALUES, one in each column.
(defun draw-row (row values / offsets)
  (setq offsets column-offsets)
  (while (not (nullp values))
    (draw-text (shifted (row-start row) (car offsets) 0) (car values))
    (setq values (cdr values))
    (setq offsets (cdr offsets))))

(defun draw-table (rows / row)
  (make-layer "TABLE" 4)
  (draw-row 0 '("No" "X" "Y" "Diameter"))
  (draw-rule 0)
  (while (not (nullp rows))
    (setq row (+ row 1))
    (draw-row row (car rows))
    (setq rows (cdr rows)))
  (draw-rule row))

; ---- The report -----------------------------------------------------------------------

; How many entities there are on LAYER.
(defun count-on (layer)
  (sslength (ssget "X" (list (cons 8 layer)))))

(defun show-counts (layers)
  (while (not (nullp layers))
    (princ (strcat (car layers) ": " (count-on (car layers)) " entities"))
    (setq layers (cdr layers))))

(defun show-rows (rows)
  (while (not (nullp rows))
    (princ (car rows))
    (setq rows (cdr rows))))

; ---- All of it ------------------------------------------------------------------------

; Draws on layers of its own, and leaves the layer current that was so before.
(defun c:flange (/ layer)
  (setq layer (getvar "CLAYER"))
  (draw-flange)
  (draw-table (hole-rows))
  (setvar "CLAYER" layer))

(flange)

(princ "The holes, as number, x, y and diameter:")
(show-rows (hole-rows))
(show-counts '("OUTLINE" "HOLES" "CENTRES" "TABLE"))
(princ "Outline, first hole and last text, as the drawing has them:")
(command "LIST" (ssget "X" '((8 . "OUTLINE"))) "")
(command "LIST" (ssname (ssget "X" '((8 . "HOLES"))) 0) "")
(command "LIST" (field -1 (last (data-of (ssget "X" '((0 . "TEXT")))))) "")
