; mergesort.lsp - merge sort of numbers, texts and records by any comparison.
;
; Teaches: functions as values. A function is passed by its name, without a quote, be it
; one of DEFUN or a built-in such as <, or as a LAMBDA written on the spot. The function
; that receives it calls it like any other: with a parameter BEFORE, the call is
; (before a b). Mind three things:
;   - A quoted '(lambda ...) is a list and cannot be called. Leave the quote away.
;   - LAMBDA runs one body form. Several go into one BEGIN.
;   - Functions and variables share their names: a parameter called LIST or LAST hides
;     the built-in of that name.
;
; Run it: vlisp run examples/mergesort.lsp

; ---- Parts of a list ------------------------------------------------------------------

; The first N elements of ITEMS.
(defun take (n items / out)
  (setq out '())
  (repeat n
    (setq out (cons (car items) out))
    (setq items (cdr items)))
  (reverse out))

; ITEMS without its first N elements.
(defun drop (n items)
  (repeat n
    (setq items (cdr items)))
  items)

; ---- Sorting --------------------------------------------------------------------------

; Two sorted lists as one. An element of RIGHT goes first only when it must stand BEFORE
; the one of LEFT: equal elements keep their order.
(defun merge (left right before / out)
  (setq out '())
  (while (not (nullp right))
    (if (cond ((nullp left) T)
              ((before (car right) (car left)) T))
      (setq out (cons (car right) out)
            right (cdr right))
      (setq out (cons (car left) out)
            left (cdr left))))
  (append (reverse out) left))

; ITEMS sorted so that (BEFORE A B) is never true for an A that comes after B.
(defun merge-sort (items before / half)
  (if (< (length items) 2)
    items
    (begin
      (setq half (/ (length items) 2))
      (merge (merge-sort (take half items) before)
             (merge-sort (drop half items) before)
             before))))

; True when no element of ITEMS must stand BEFORE its left neighbour.
(defun sorted (items before / ok)
  (setq ok T)
  (while (not (nullp (cdr items)))
    (if (before (cadr items) (car items))
      (setq ok (not T)))
    (setq items (cdr items)))
  ok)

; A list of what F gives for each of ITEMS.
(defun map-list (f items / out)
  (setq out '())
  (while (not (nullp items))
    (setq out (cons (f (car items)) out))
    (setq items (cdr items)))
  (reverse out))

; ---- Order of texts -------------------------------------------------------------------

; The built-ins order numbers only. Characters are ordered by their place in here.
(setq alphabet " -0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ")

; The place of the character C in ALPHABET, small letters taken as capitals. A character
; that is not in there comes after all others.
(defun rank (c / place)
  (setq c (strcase c))
  (setq place 1)
  (while (and (<= place (strlen alphabet))
              (/= c (substr alphabet place 1)))
    (setq place (+ place 1)))
  place)

; True when text A comes before text B in the dictionary. A text that ends comes before
; one that goes on.
(defun text-before (a b)
  (cond
    ((= b "") (not T))
    ((= a "") T)
    ((= (rank (substr a 1 1)) (rank (substr b 1 1)))
      (text-before (substr a 2) (substr b 2)))
    (T (< (rank (substr a 1 1)) (rank (substr b 1 1))))))

; ---- Output ---------------------------------------------------------------------------

; The elements of ITEMS, of which there is at least one, in one line.
(defun join (items separator / text)
  (setq text (strcat (car items)))
  (while (not (nullp (cdr items)))
    (setq items (cdr items))
    (setq text (strcat text separator (car items))))
  text)

; Sorts ITEMS, checks the result and prints it below TITLE.
(defun show-sorted (title items before / result)
  (setq result (merge-sort items before))
  (princ title)
  (princ (strcat "  " (join result ", ")))
  (if (not (sorted result before))
    (princ "  NOT SORTED")))

; ---- Numbers --------------------------------------------------------------------------

(setq numbers '(31 4 15 92 -6 53 58 97 9 0 32 -38 4))

(princ "Given")
(princ (strcat "  " (join numbers ", ")))
(show-sorted "Ascending, by the built-in <" numbers <)
(show-sorted "Descending, by the built-in >" numbers >)
(show-sorted "By size without the sign, by a LAMBDA" numbers
  (lambda (a b) (< (* a a) (* b b))))
(show-sorted "Even numbers first, then by value" numbers
  (lambda (a b)
    (if (= (logand a 1) (logand b 1))
      (< a b)
      (= (logand a 1) 0))))

; ---- Texts ----------------------------------------------------------------------------

(setq towns '("Turin" "oslo" "Bergen" "Ulm" "Lyon" "Bern" "Ghent" "Graz" "Bath"))

(princ "")
(princ "Given")
(princ (strcat "  " (join towns ", ")))
(show-sorted "In dictionary order" towns text-before)
(show-sorted "By length, as given where it is equal" towns
  (lambda (a b) (< (strlen a) (strlen b))))

; ---- Records --------------------------------------------------------------------------

; Drill holes: a name, a diameter, a depth.
(setq holes '(("H3" 6.5 20) ("H1" 8 35) ("H4" 5 20) ("H2" 6.5 12) ("H5" 12.25 20)))

; The names of HOLES in the order that BEFORE gives them.
(defun hole-names (before)
  (join (map-list car (merge-sort holes before)) ", "))

(princ "")
(princ "Holes")
(princ (strcat "  by name:       " (hole-names
  (lambda (a b) (text-before (car a) (car b))))))
(princ (strcat "  by diameter:   " (hole-names
  (lambda (a b) (< (cadr a) (cadr b))))))
(princ (strcat "  deepest first: " (hole-names
  (lambda (a b) (> (last a) (last b))))))
