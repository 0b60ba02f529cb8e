; bom.lsp - a bill of materials: nested assemblies counted down to single parts.
;
; Teaches: association lists with integer keys, looked up by ASSOC, changed by SUBST,
; recursion over a tree, and functions that carry a tally along.
;
; Every article has a number. The catalogue tells for each its name, what one costs in
; cents, what it weighs in grams, and for an assembly what goes into it, as pairs
; (article . count). An assembly's own cost is that of putting it together.
;
; ASSOC compares whole numbers only: keys that are texts would all be taken for 0.
;
; Run it: vlisp run examples/bom.lsp

(setq catalogue
  '((100 "Bookcase"      1500   0 ((110 . 2) (120 . 1) (130 . 3) (310 . 8)))
    (110 "Side"           250   0 ((210 . 1) (330 . 10)))
    (120 "Frame"          400   0 ((220 . 2) (230 . 2) (320 . 8)))
    (130 "Drawer"         600   0 ((230 . 4) (240 . 1) (140 . 1) (320 . 12)))
    (140 "Pull"            90   0 ((250 . 1) (310 . 2)))
    (210 "Side panel"    2400 5200 ())
    (220 "Rail"           780 1150 ())
    (230 "Slat"           320  450 ())
    (240 "Drawer bottom"  640  900 ())
    (250 "Knob"           210   60 ())
    (310 "Screw M6"        12   11 ())
    (320 "Dowel"            3    2 ())
    (330 "Shelf pin"        9    4 ())))

; ---- The catalogue --------------------------------------------------------------------

; The fields of ARTICLE.
(defun name-of (article) (nth 1 (assoc article catalogue)))
(defun own-cost (article) (nth 2 (assoc article catalogue)))
(defun own-weight (article) (nth 3 (assoc article catalogue)))
(defun contents (article) (nth 4 (assoc article catalogue)))

; True when ARTICLE is put together from others.
(defun is-assembly (article)
  (not (nullp (contents article))))

; The sum of what FIELD gives for ARTICLE and for everything in it.
(defun sum-of (field article / total parts)
  (setq total (field article))
  (setq parts (contents article))
  (while (not (nullp parts))
    (setq total (+ total (* (cdr (car parts))
                            (sum-of field (car (car parts))))))
    (setq parts (cdr parts)))
  total)

; ---- Tallies --------------------------------------------------------------------------
; A tally is a list of pairs (article . count).

; TALLY with N more of ARTICLE.
(defun add-count (article n tally / pair)
  (setq pair (assoc article tally))
  (if pair
    (subst (cons article (+ (cdr pair) n)) pair tally)
    (append tally (list (cons article n)))))

; TALLY with everything counted in that N of ARTICLE are made of: the single parts when
; ASSEMBLIES is nil, else the assemblies.
(defun count-into (tally article n assemblies / parts)
  (setq parts (contents article))
  (if (= (nullp parts) (not assemblies))
    (setq tally (add-count article n tally)))
  (while (not (nullp parts))
    (setq tally (count-into tally (car (car parts)) (* n (cdr (car parts))) assemblies))
    (setq parts (cdr parts)))
  tally)

; TALLY in the order of the article numbers: each of the catalogue's articles that occurs.
(defun in-order (tally / articles out)
  (setq articles catalogue)
  (setq out '())
  (while (not (nullp articles))
    (if (assoc (car (car articles)) tally)
      (setq out (cons (assoc (car (car articles)) tally) out)))
    (setq articles (cdr articles)))
  (reverse out))

; ---- Output ---------------------------------------------------------------------------

; MARK written N times.
(defun repeat-text (mark n / text)
  (setq text "")
  (repeat n
    (setq text (strcat text mark)))
  text)

; VALUE with blanks in front, or behind, up to WIDTH characters.
(defun pad-left (value width)
  (strcat (repeat-text " " (- width (strlen (strcat value)))) value))
(defun pad-right (value width)
  (strcat value (repeat-text " " (- width (strlen (strcat value))))))

; An amount of hundredths with its point: 1205 becomes 12.05. For thousandths, UNIT is
; 1000.
(defun decimal (n unit)
  (strcat (/ n unit) "." (substr (strcat (+ unit (- n (* unit (/ n unit))))) 2)))

; Prints what N of ARTICLE consist of as an indented tree, LEVEL deep.
(defun print-tree (article n level / parts)
  (princ (strcat (repeat-text "    " level) n " x " (name-of article)))
  (setq parts (contents article))
  (while (not (nullp parts))
    (print-tree (car (car parts)) (cdr (car parts)) (+ level 1))
    (setq parts (cdr parts))))

; Prints one line of the report.
(defun print-line (number name count cost weight)
  (princ (strcat "  " (pad-left number 4) "  " (pad-right name 14)
                 (pad-left count 6) (pad-left cost 11) (pad-left weight 12))))

; Prints TALLY under TITLE, each line with its cost and weight, and the totals.
(defun print-tally (title tally / count cost weight n article)
  (princ title)
  (print-line "No" "Name" "Count" "Cost" "Weight kg")
  (princ (strcat "  " (repeat-text "-" 49)))
  (while (not (nullp tally))
    (setq article (car (car tally)))
    (setq n (cdr (car tally)))
    (print-line article (name-of article) n
                (decimal (* n (own-cost article)) 100)
                (decimal (* n (own-weight article)) 1000))
    (setq count (+ count n))
    (setq cost (+ cost (* n (own-cost article))))
    (setq weight (+ weight (* n (own-weight article))))
    (setq tally (cdr tally)))
  (princ (strcat "  " (repeat-text "-" 49)))
  (print-line "" "Total" count (decimal cost 100) (decimal weight 1000))
  (princ ""))

; Prints all about N of ARTICLE. The totals come from another way of counting, over the
; tree, and must agree with those of the two tables.
(defun report (article n)
  (princ (strcat "To make: " n " x " (name-of article)))
  (princ "")
  (print-tally "Parts" (in-order (count-into '() article n (not T))))
  (print-tally "Assembling" (in-order (count-into '() article n T)))
  (princ (strcat "Altogether " (decimal (* n (sum-of own-cost article)) 100)
                 ", weighing " (decimal (* n (sum-of own-weight article)) 1000) " kg")))

; ---- The report -----------------------------------------------------------------------

(princ "One bookcase")
(print-tree 100 1 0)
(princ "")
(report 100 5)
