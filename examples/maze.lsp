; maze.lsp - the shortest way through a maze, found by breadth-first search.
;
; Teaches: a list of texts as a map, a queue, and association lists as memory: ASSOC
; looks up integer keys, so that each cell of the map gets a number of its own.
;
; A maze is a list of rows of equal length. "#" is a wall, "S" the start, "E" the exit,
; all else is free. Cell numbers count along the rows, from 0 at the top left.
;
; Run it: vlisp run examples/maze.lsp

; ---- The map --------------------------------------------------------------------------

; The length of the rows of MAZE.
(defun maze-width (maze)
  (strlen (car maze)))

; The character of MAZE in CELL.
(defun cell-mark (maze cell / width row)
  (setq width (maze-width maze))
  (setq row (/ cell width))
  (substr (nth row maze) (+ 1 (- cell (* row width))) 1))

; The number of the first cell with MARK, counted from CELL on, or -1 if there is none.
(defun find-mark (maze mark cell)
  (cond
    ((= cell (* (maze-width maze) (length maze))) -1)
    ((= mark (cell-mark maze cell)) cell)
    (T (find-mark maze mark (+ cell 1)))))

; MAZE with MARK written into CELL.
(defun with-mark (maze mark cell / width row column text)
  (setq width (maze-width maze))
  (setq row (/ cell width))
  (setq column (+ 1 (- cell (* row width))))
  (setq text (nth row maze))
  (setq text (strcat (substr text 1 (- column 1)) mark (substr text (+ column 1))))
  (replace-nth row text maze))

; ITEMS with VALUE in place of the element at INDEX, counted from 0.
(defun replace-nth (index value items / out)
  (setq out '())
  (while (not (nullp items))
    (setq out (cons (if (= index 0) value (car items)) out))
    (setq index (- index 1))
    (setq items (cdr items)))
  (reverse out))

; The four cells beside CELL. A maze is walled in, so that none of them lies outside.
(defun neighbours (maze cell)
  (list (- cell (maze-width maze))
        (+ cell 1)
        (+ cell (maze-width maze))
        (- cell 1)))

; ---- The search -----------------------------------------------------------------------

; A memory of all cells reached from START until EXIT was: one pair (cell . from) each,
; FROM being the cell one came from. START came from -1.
(defun explore (maze start exit / queue seen cell around)
  (setq seen (list (cons start -1)))
  (setq queue (list start))
  (while (and (not (nullp queue)) (not (assoc exit seen)))
    (setq cell (car queue))
    (setq queue (cdr queue))
    (setq around (neighbours maze cell))
    (while (not (nullp around))
      (if (and (/= "#" (cell-mark maze (car around)))
               (not (assoc (car around) seen)))
        (setq seen (cons (cons (car around) cell) seen)
              queue (append queue (list (car around)))))
      (setq around (cdr around))))
  seen)

; The cells from START to CELL, read back from what EXPLORE has SEEN. Where CELL was
; never reached, the list is empty.
(defun way-to (cell seen / way)
  (setq way '())
  (if (assoc cell seen)
    (while (/= cell -1)
      (setq way (cons cell way))
      (setq cell (cdr (assoc cell seen)))))
  way)

; ---- Output ---------------------------------------------------------------------------

; Prints one line for each of ROWS.
(defun print-rows (rows)
  (while (not (nullp rows))
    (princ (strcat "  " (car rows)))
    (setq rows (cdr rows))))

; MAZE with dots on the cells of WAY. The first and the last one keep their letters.
(defun with-way (maze way)
  (setq way (cdr way))
  (while (not (nullp (cdr way)))
    (setq maze (with-mark maze "." (car way)))
    (setq way (cdr way)))
  maze)

; Solves MAZE and prints it with the way, under TITLE.
(defun solve (title maze / start exit seen way)
  (setq start (find-mark maze "S" 0))
  (setq exit (find-mark maze "E" 0))
  (setq seen (explore maze start exit))
  (setq way (way-to exit seen))
  (princ title)
  (print-rows (with-way maze way))
  (princ (if (nullp way)
    (strcat "  No way out, " (length seen) " cells seen")
    (strcat "  " (- (length way) 1) " steps, " (length seen) " cells seen"))))

; ---- The mazes ------------------------------------------------------------------------

(solve "A maze of corridors"
  '("#########################"
    "#S    #     #           #"
    "##### # ### # ##### ### #"
    "#   # #   # #     #   # #"
    "# # # ### # ##### ### # #"
    "# #     # #     #   # # #"
    "# ####### ##### ### # # #"
    "#       #     #   # # # #"
    "# ##### ##### ### # # ###"
    "#     #     #   # # #   #"
    "##### # ### ### # # ### #"
    "#     #   #     #     #E#"
    "#########################"))

(princ "")
(solve "An open hall, where many ways are equally short"
  '("##############"
    "#S           #"
    "#   ######   #"
    "#   #    #   #"
    "#   # ## #   #"
    "#     ##    E#"
    "##############"))

(princ "")
(solve "A walled-in start"
  '("###########"
    "#S #      #"
    "#  #  ##  #"
    "####   #  #"
    "#      # E#"
    "###########"))
