; table.lsp - text tables: columns as wide as they must be, aligned, with rulers.
;
; Teaches: records as lists, symbols as options, texts built by repetition, and numbers
; with the decimals one wants (a real is always printed with three).
;
; A column is described by (title alignment), the alignment being one of the symbols
; LEFT, RIGHT and CENTRE. A row is a list of as many values, texts or numbers.
;
; Run it: vlisp run examples/table.lsp

; ---- Text -----------------------------------------------------------------------------

; MARK written N times, nothing for N below 1.
(defun repeat-text (mark n / text)
  (setq text "")
  (repeat n
    (setq text (strcat text mark)))
  text)

; VALUE as text of WIDTH characters. A text that is too long stays as it is.
(defun pad (value width alignment / text room)
  (setq text (strcat value))
  (setq room (- width (strlen text)))
  (cond
    ((= alignment 'right)
      (strcat (repeat-text " " room) text))
    ((= alignment 'centre)
      (strcat (repeat-text " " (/ room 2)) text (repeat-text " " (- room (/ room 2)))))
    (T
      (strcat text (repeat-text " " room)))))

; A count of cents, not below 0, as an amount: 123456 becomes 1,234.56.
(defun money (cents / whole text)
  (setq whole (strcat (/ cents 100)))
  (setq text (strcat "." (substr (strcat (+ 100 (- cents (* 100 (/ cents 100))))) 2)))
  (while (> (strlen whole) 3)
    (setq text (strcat "," (substr whole (- (strlen whole) 2)) text))
    (setq whole (substr whole 1 (- (strlen whole) 3))))
  (strcat whole text))

; ---- Lists ----------------------------------------------------------------------------

; The larger of two numbers.
(defun larger (a b)
  (if (> a b) a b))

; What F gives for each of ITEMS.
(defun map-list (f items / out)
  (setq out '())
  (while (not (nullp items))
    (setq out (cons (f (car items)) out))
    (setq items (cdr items)))
  (reverse out))

; The sum of the numbers that F gives for ITEMS.
(defun sum-of (f items / total)
  (while (not (nullp items))
    (setq total (+ total (f (car items))))
    (setq items (cdr items)))
  total)

; ---- The table ------------------------------------------------------------------------

; The width of each column, as a list: that of its longest value in ROWS, title included.
(defun column-widths (columns rows / index widths width rest)
  (setq widths '())
  (repeat (length columns)
    (setq width (strlen (car (nth index columns))))
    (setq rest rows)
    (while (not (nullp rest))
      (setq width (larger width (strlen (strcat (nth index (car rest))))))
      (setq rest (cdr rest)))
    (setq widths (append widths (list width)))
    (setq index (+ index 1)))
  widths)

; A line across the whole table, drawn with MARK: +------+----+
(defun ruler (mark widths / line)
  (setq line "+")
  (while (not (nullp widths))
    (setq line (strcat line (repeat-text mark (+ (car widths) 2)) "+"))
    (setq widths (cdr widths)))
  line)

; One row of VALUES: | bolt | 12 |
(defun row-line (values columns widths / line)
  (setq line "|")
  (while (not (nullp columns))
    (setq line (strcat line " "
                       (pad (car values) (car widths) (cadr (car columns)))
                       " |"))
    (setq values (cdr values)
          columns (cdr columns)
          widths (cdr widths)))
  line)

; Prints one line for each of ROWS.
(defun print-rows (rows columns widths)
  (while (not (nullp rows))
    (princ (row-line (car rows) columns widths))
    (setq rows (cdr rows))))

; Prints a table: TITLE across its whole width, the columns' titles, ROWS, and TOTALS
; below a ruler of their own. Without totals, TOTALS is an empty list.
(defun print-table (title columns rows totals / widths inside)
  (setq widths (column-widths columns
                              (if (nullp totals) rows (cons totals rows))))
  (setq inside (- (strlen (ruler "-" widths)) 2))
  (princ (strcat "+" (repeat-text "-" inside) "+"))
  (princ (strcat "|" (pad title inside 'centre) "|"))
  (princ (ruler "=" widths))
  (princ (row-line (map-list car columns) columns widths))
  (princ (ruler "=" widths))
  (print-rows rows columns widths)
  (if (not (nullp totals))
    (begin
      (princ (ruler "-" widths))
      (princ (row-line totals columns widths))))
  (princ (ruler "-" widths)))

; ---- An order -------------------------------------------------------------------------

; What is ordered: an article, a count, the price of one in cents.
(setq order '(("Hinge, steel" 24 385)
              ("Door 60 x 200" 4 18950)
              ("Handle" 8 1240)
              ("Screw M4" 500 7)
              ("Worktop, oak" 1 128000)))

; What one line of the order costs.
(defun line-price (line)
  (* (cadr line) (last line)))

; One line of the order as a row of the table.
(defun order-row (line)
  (list (car line)
        (cadr line)
        (money (last line))
        (money (line-price line))))

(print-table "Order 1047"
  '(("Article" left) ("Count" right) ("Price" right) ("Amount" right))
  (map-list order-row order)
  (list "Total" (sum-of cadr order) "" (money (sum-of line-price order))))

; ---- Layers ---------------------------------------------------------------------------

(princ "")
(print-table "Layers"
  '(("No" right) ("Name" left) ("State" centre) ("Weight" right))
  '((1 "WALLS" "on" 0.5)
    (2 "DOORS" "on" 0.35)
    (3 "DIMENSIONS" "frozen" 0.18)
    (12 "GRID" "off" 0.09))
  '())

; ---- One text, three ways -------------------------------------------------------------

(princ "")
(princ (strcat "[" (pad "left" 12 'left) "]"))
(princ (strcat "[" (pad "centre" 12 'centre) "]"))
(princ (strcat "[" (pad "right" 12 'right) "]"))
