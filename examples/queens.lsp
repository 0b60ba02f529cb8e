; queens.lsp - eight queens on a chess board, none of which attacks another.
;
; Teaches: recursion with backtracking, a position kept as a plain list of integers,
; alternatives told by COND where OR would not do, and drawing with text.
;
; A board is the list of its queens' columns, one for each row: in (2 4 1 3) the queen
; of the first row stands in column 2. While a board is being filled, the row filled
; last comes first.
;
; Run it: vlisp run examples/queens.lsp

; ---- Search ---------------------------------------------------------------------------

; True when a queen in COLUMN, ROWS below another in column OTHER, is attacked by it.
; OR heeds its first argument only, so that alternatives are written as clauses.
(defun attacks (column other rows)
  (cond
    ((= column other) T)
    ((= (- column other) rows) T)
    ((= (- other column) rows) T)))

; True when COLUMN of the next row is attacked by none of the queens PLACED.
(defun safe (column placed / rows free)
  (setq free T)
  (while (and free (not (nullp placed)))
    (setq rows (+ rows 1))
    (setq free (not (attacks column (car placed) rows)))
    (setq placed (cdr placed)))
  free)

; All full boards of SIZE rows that begin with the queens PLACED: every safe column of
; the next row is tried, and the boards that follow from each are put together.
(defun extend (placed size / column boards)
  (if (= (length placed) size)
    (list (reverse placed))
    (begin
      (setq boards '())
      (setq column 1)
      (while (<= column size)
        (if (safe column placed)
          (setq boards (append boards (extend (cons column placed) size))))
        (setq column (+ column 1)))
      boards)))

; All boards of SIZE rows and columns.
(defun queens (size)
  (extend '() size))

; ---- Symmetry -------------------------------------------------------------------------

; BOARD seen in a mirror: the columns counted from the other side.
(defun mirrored (board / size out)
  (setq size (length board))
  (setq out '())
  (while (not (nullp board))
    (setq out (cons (- (+ size 1) (car board)) out))
    (setq board (cdr board)))
  (reverse out))

; The row, counted from 1, in which BOARD has its queen in COLUMN.
(defun row-of (column board)
  (if (= column (car board))
    1
    (+ 1 (row-of column (cdr board)))))

; BOARD turned over its long diagonal: rows become columns.
(defun transposed (board / column out)
  (setq column (length board))
  (setq out '())
  (while (> column 0)
    (setq out (cons (row-of column board) out))
    (setq column (- column 1)))
  out)

; BOARD turned by a quarter.
(defun turned (board)
  (mirrored (transposed board)))

; A board as one integer, its columns being the digits: quick to compare.
(defun board-number (board / n)
  (while (not (nullp board))
    (setq n (+ (* n 10) (car board)))
    (setq board (cdr board)))
  n)

; True when no turned or mirrored picture of BOARD has a smaller number. Just one board
; of each such family passes.
(defun leads-family (board / own least)
  (setq own (board-number board))
  (setq least T)
  (repeat 4
    (setq board (turned board))
    (if (< (board-number board) own)
      (setq least (not T)))
    (if (< (board-number (mirrored board)) own)
      (setq least (not T))))
  least)

; How many of BOARDS differ even when turned or mirrored.
(defun count-families (boards / n)
  (while (not (nullp boards))
    (if (leads-family (car boards))
      (setq n (+ n 1)))
    (setq boards (cdr boards)))
  n)

; ---- Drawing --------------------------------------------------------------------------

; One row of a board of SIZE columns with its queen in COLUMN: . . Q .
(defun row-text (column size / text i)
  (setq text "")
  (setq i 1)
  (while (<= i size)
    (setq text (strcat text (if (= i column) " Q" " .")))
    (setq i (+ i 1)))
  text)

; Prints BOARD, the first row at the top, each with its number.
(defun draw (board / size row)
  (setq size (length board))
  (setq row 1)
  (while (not (nullp board))
    (princ (strcat "  " row " |" (row-text (car board) size)))
    (setq row (+ row 1))
    (setq board (cdr board))))

; Prints the counts for one SIZE of board.
(defun report (size / boards)
  (setq boards (queens size))
  (princ (strcat "  " size " queens: " (length boards) " boards, "
                 (count-families boards) " without turning and mirroring")))

; ---- The report -----------------------------------------------------------------------

(princ "How many boards there are")
(setq size 4)
(repeat 5
  (report size)
  (setq size (+ size 1)))

(setq boards (queens 8))

(princ "")
(princ (strcat "The first board of eight: " (car boards)))
(draw (car boards))

(princ "")
(princ "Turned by a quarter:")
(draw (turned (car boards)))
