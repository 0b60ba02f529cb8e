; bill-of-blocks.lsp - counts which blocks a drawing places, and how often.
;
; Teaches: walking the block table with TBLNEXT, selecting with a filter that is made while
; the program runs, and blocks and their insertions.
;
; TBLNEXT has one place in the table, which all programs share: begin with T, and do nothing
; else with the table before the walk is over.
;
; Run it: vlisp run examples/bill-of-blocks.lsp

; ---- Blocks ---------------------------------------------------------------------------

; The names of all blocks, in the order of the table.
(defun block-names (/ entry names)
  (setq names '())
  (setq entry (tblnext "BLOCK" T))
  (while entry
    (setq names (append names (list (cdr (assoc 2 entry)))))
    (setq entry (tblnext "BLOCK")))
  names)

; The selection set of everything that places the block NAME. The list cannot be quoted as
; a whole, for it holds a value.
(defun insertions (name)
  (ssget "X" (list '(0 . "INSERT") (cons 2 name))))

; How many insertions of the block NAME have an X scale that is not their Y scale. A filter
; cannot ask that: it knows equal values only.
(defun count-distorted (name / set index data distorted)
  (setq set (insertions name))
  (repeat (sslength set)
    (setq data (entget (ssname set index)))
    (if (/= (cdr (assoc 41 data)) (cdr (assoc 42 data)))
      (setq distorted (+ distorted 1)))
    (setq index (+ index 1)))
  distorted)

; ---- The bill -------------------------------------------------------------------------

; TEXT with blanks behind it, WIDTH characters in all.
(defun pad (text width)
  (while (< (strlen text) width)
    (setq text (strcat text " ")))
  text)

(defun print-line (name count distorted)
  (princ (strcat (pad name 10) (pad (strcat count) 8) distorted)))

; Prints a line for each block, and the sums.
(defun print-bill (/ names name count distorted all all-distorted)
  (print-line "Block" "Placed" "Distorted")
  (setq names (block-names))
  (while (not (nullp names))
    (setq name (car names))
    (setq count (sslength (insertions name)))
    (setq distorted (count-distorted name))
    (print-line name count distorted)
    (setq all (+ all count))
    (setq all-distorted (+ all-distorted distorted))
    (setq names (cdr names)))
  (print-line "All" all all-distorted))

; ---- A drawing ------------------------------------------------------------------------

; Makes a block of the entity drawn last, which leaves the drawing.
(defun make-block (name base)
  (command "BLOCK" name base (entlast) ""))

; Places a block, with its X and Y scale and its angle in degrees.
(defun place (name at x y angle)
  (command "INSERT" name at x y angle))

(command "CIRCLE" '(0 0) 4)
(make-block "BOLT" '(0 0))
(command "PLINE" '(0 0) '(20 0) '(20 10) '(0 10) "Close")
(make-block "PLATE" '(10 5))
(command "CIRCLE" '(0 0) 6)
(make-block "WASHER" '(0 0))

(place "PLATE" '(100 50) 4 4 0)
(place "PLATE" '(300 50) 4 6 90)
(place "BOLT" '(70 35) 1 1 0)
(place "BOLT" '(130 35) 1 1 0)
(place "BOLT" '(70 65) 1 1 45)
(place "BOLT" '(130 65) 1 2 0)

(print-bill)
