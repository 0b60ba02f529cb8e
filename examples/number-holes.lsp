; number-holes.lsp - numbers the holes of a plate that somebody else has drawn, and builds a
; table of them beside it.
;
; Teaches: working over an existing drawing. What is needed is found by its layer, and nothing
; of it is changed. What the program draws lies on two layers of its own, which it empties
; first: it may be run again when the plate has changed.
;
; The holes are the circles on the layer HOLES. They are numbered as one reads: line by line
; from the top, each line from left to right.
;
; Run it: vlisp run examples/number-holes.lsp --drawing examples/plate.dxf --save numbered.dxf

; ---- How it looks, in millimetres -----------------------------------------------------

(setq number-height 3.5)
; From the edge of a hole to its number.
(setq number-gap 1.5)
; From the plate to the table; where the table's columns begin, its width and its lines.
(setq table-gap 22.0)
(setq column-offsets '(2.0 14.0 42.0 70.0))
(setq table-width 95.0)
(setq row-height 7.0)
; Holes whose heights differ by less stand in one line.
(setq same-line 0.01)

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

; All entities on LAYER.
(defun all-on (layer)
  (ssget "X" (list (cons 8 layer))))

; The circles on the layer HOLES, in the order in which they were drawn.
(defun holes ()
  (data-of (ssget "X" '((0 . "CIRCLE") (8 . "HOLES")))))

(defun x-of (hole) (car (field 10 hole)))
(defun y-of (hole) (cadr (field 10 hole)))
(defun diameter-of (hole) (* 2 (field 40 hole)))

; The right upper corner of what is drawn on LAYER.
(defun upper-corner (layer / rest box right top)
  (setq rest (data-of (all-on layer)))
  (setq box (vm-entext (field -1 (car rest))))
  (setq right (nth 2 box))
  (setq top (nth 3 box))
  (while (not (nullp rest))
    (setq box (vm-entext (field -1 (car rest))))
    (if (> (nth 2 box) right) (setq right (nth 2 box)))
    (if (> (nth 3 box) top) (setq top (nth 3 box)))
    (setq rest (cdr rest)))
  (list right top))

; ---- Order ----------------------------------------------------------------------------

; Whether hole A comes before hole B.
(defun reads-before (a b / down)
  (setq down (- (y-of a) (y-of b)))
  (cond ((> down same-line) T)
        ((< down (- 0 same-line)) (not T))
        (T (< (x-of a) (x-of b)))))

; SORTED with HOLE put in where it belongs.
(defun insert-hole (hole sorted / before)
  (setq before '())
  (while (and (not (nullp sorted)) (reads-before (car sorted) hole))
    (setq before (append before (list (car sorted))))
    (setq sorted (cdr sorted)))
  (append before (append (list hole) sorted)))

(defun in-order (holes / sorted)
  (setq sorted '())
  (while (not (nullp holes))
    (setq sorted (insert-hole (car holes) sorted))
    (setq holes (cdr holes)))
  sorted)

; ---- Drawing --------------------------------------------------------------------------

; Makes the layer NAME in COLOUR, empty and current.
(defun begin-layer (name colour / old)
  (setq old (all-on name))
  (if (> (sslength old) 0) (command "ERASE" old ""))
  (command "LAYER" "Make" name "Color" colour name ""))

(defun draw-text (at text)
  (command "TEXT" at number-height 0 text))

(defun draw-line (from to)
  (command "LINE" from to ""))

; The point DX to the right of P and DY above it.
(defun shifted (p dx dy)
  (list (+ (car p) dx) (+ (cadr p) dy)))

; A number of millimetres without noughts that say nothing: 9.000 becomes 9.
(defun mm (value / text)
  (setq text (strcat value))
  (while (= (substr text (strlen text)) "0")
    (setq text (substr text 1 (- (strlen text) 1))))
  (if (= (substr text (strlen text)) ".")
    (substr text 1 (- (strlen text) 1))
    text))

; Writes N to the right of HOLE and above it.
(defun draw-number (hole n)
  (draw-text (polar (field 10 hole) (/ pi 4) (+ (field 40 hole) number-gap)) (itoa n)))

(defun draw-numbers (holes / n)
  (while (not (nullp holes))
    (setq n (+ n 1))
    (draw-number (car holes) n)
    (setq holes (cdr holes))))

; ---- The table ------------------------------------------------------------------------

; A rule below line ROW of the table, whose titles are line 0.
(defun draw-rule (corner row / left)
  (setq left (shifted corner 0 (* (+ row 1) (- 0 row-height))))
  (draw-line left (shifted left table-width 0)))

; TEXTS, one in each column of line ROW.
(defun draw-row (corner row texts / offsets base)
  (setq offsets column-offsets)
  (setq base (+ (* (+ row 1) (- 0 row-height)) (/ (- row-height number-height) 2)))
  (while (not (nullp texts))
    (draw-text (shifted corner (car offsets) base) (car texts))
    (setq texts (cdr texts))
    (setq offsets (cdr offsets))))

(defun draw-table (corner holes / row hole)
  (draw-rule corner -1)
  (draw-row corner 0 '("No" "X" "Y" "Ø"))
  (draw-rule corner 0)
  (while (not (nullp holes))
    (setq row (+ row 1))
    (setq hole (car holes))
    (draw-row corner row
              (list (itoa row) (mm (x-of hole)) (mm (y-of hole)) (mm (diameter-of hole))))
    (setq holes (cdr holes)))
  (draw-rule corner row))

; ---- All of it ------------------------------------------------------------------------

; Leaves the current layer and the height of new texts as they were.
(defun c:number-holes (/ found layer size)
  (setq found (in-order (holes)))
  (setq layer (getvar "CLAYER"))
  (setq size (getvar "TEXTSIZE"))
  (if (nullp found)
    (princ "There is no circle on the layer HOLES.")
    (begin
      (begin-layer "NUMBERS" 6)
      (draw-numbers found)
      (begin-layer "HOLE-TABLE" 7)
      (draw-table (shifted (upper-corner "OUTLINE") table-gap 0) found)
      (setvar "CLAYER" layer)
      (setvar "TEXTSIZE" size)
      (princ (strcat (length found) " holes numbered.")))))

(number-holes)
