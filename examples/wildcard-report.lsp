; wildcard-report.lsp - layer names checked against a naming rule, grouped and counted.
;
; Teaches: the patterns of WCMATCH, STRCASE for comparing without regard to case, SUBSTR
; for taking texts apart, and tables of patterns in place of long conditions.
;
; In a pattern "#" is a digit, "@" a letter, "?" any character, "*" anything, "[AB]" one
; of the characters, "[~AB]" any other, and "," separates patterns, one of which is to
; match. A back quote takes the next character literally. "." stands for a character that
; is no letter, no digit and no underscore. Capitals and small letters differ.
;
; A layer is to be called discipline-major-minor, as A-WALL-01: one of the letters A, E,
; M or S, a word of three or four letters, and two digits or the word TEXT.
;
; Run it: vlisp run examples/wildcard-report.lsp

(setq layers
  '("0" "A-WALL-01" "A-WALL-02" "a-wall-text" "A-DOOR-01" "A-GLAZ-01" "E-LITE-01"
    "E-LITE-02" "E-POW-01" "e-pow-text" "M-DUCT-01" "M-DUCT-1" "S-COLS-01" "S-BEAM-01"
    "S-BEAM-TEXT" "X-SITE-01" "DEFPOINTS" "A-WALL-01-OLD" "tmp*hatch" "A_WALL_01"
    "2023 survey" "TMP-COPY" "A-STAIRS-01"))

; The rule, and why a name may break it: pairs (pattern explanation), the first pattern
; that matches telling. The last one matches all that is left.
(setq rule "[AEMS]-@@@-##,[AEMS]-@@@@-##,[AEMS]-@@@-TEXT,[AEMS]-@@@@-TEXT")
(setq reasons
  '(("*`**" "has a star in its name")
    ("* *" "has a blank in its name")
    ("TMP*" "is a temporary layer")
    ("*_*" "has underscores for hyphens")
    ("*-*-*-*" "has a part too many")
    ("[~AEMS]-*" "has an unknown discipline")
    ("?-*-#" "has a number of one digit")
    ("?-@@@@@*-*" "has too long a major word")
    ("*" "follows no rule")))

; The disciplines: pairs (pattern title).
(setq disciplines
  '(("A-*" "Architecture") ("E-*" "Electricity") ("M-*" "Mechanics") ("S-*" "Structure")))

; ---- Texts ----------------------------------------------------------------------------

; MARK written N times.
(defun repeat-text (mark n / text)
  (setq text "")
  (repeat n
    (setq text (strcat text mark)))
  text)

; TEXT with blanks behind, up to WIDTH characters.
(defun pad (text width)
  (strcat text (repeat-text " " (- width (strlen text)))))

; TEXT with a capital at its front and small letters behind.
(defun capitalised (text)
  (strcat (strcase (substr text 1 1)) (strcase (substr text 2) T)))

; True when NAME matches PATTERN, capital or small.
(defun matches (name pattern)
  (wcmatch (strcase name) pattern))

; The parts of TEXT between the one-character MARK: "A-B" parted by "-" is "A" and "B".
(defun parts (text mark / i part out)
  (setq i 1)
  (setq part "")
  (setq out '())
  (while (<= i (strlen text))
    (if (= mark (substr text i 1))
      (setq out (cons part out)
            part "")
      (setq part (strcat part (substr text i 1))))
    (setq i (+ i 1)))
  (reverse (cons part out)))

; The texts ITEMS in one line.
(defun join (items separator / line)
  (setq line (if (nullp items) "" (car items)))
  (while (not (nullp (cdr items)))
    (setq items (cdr items))
    (setq line (strcat line separator (car items))))
  line)

; ---- Selection ------------------------------------------------------------------------

; Those of NAMES that match PATTERN.
(defun select (names pattern / out)
  (setq out '())
  (while (not (nullp names))
    (if (matches (car names) pattern)
      (setq out (cons (car names) out)))
    (setq names (cdr names)))
  (reverse out))

; Those of NAMES that do not. A "~" in front of a pattern does not turn it round: it has
; this meaning in brackets only.
(defun reject (names pattern / out)
  (setq out '())
  (while (not (nullp names))
    (if (not (matches (car names) pattern))
      (setq out (cons (car names) out)))
    (setq names (cdr names)))
  (reverse out))

; The text that belongs to the first pattern in TABLE that NAME matches.
(defun first-match (name table)
  (if (matches name (car (car table)))
    (cadr (car table))
    (first-match name (cdr table))))

; The major words of NAMES, each one once, however it is written.
(defun majors (names / major out)
  (setq out '())
  (while (not (nullp names))
    (setq major (capitalised (cadr (parts (car names) "-"))))
    (if (nullp (member major out))
      (setq out (append out (list major))))
    (setq names (cdr names)))
  out)

; ---- Output ---------------------------------------------------------------------------

; Prints one line for each of the disciplines in TABLE: how many of NAMES belong to it,
; and which major words they have.
(defun print-disciplines (names table / own)
  (while (not (nullp table))
    (setq own (select names (car (car table))))
    (princ (strcat "  " (pad (cadr (car table)) 14) (repeat-text "#" (length own))
                   " " (length own) ": " (join (majors own) ", ")))
    (setq table (cdr table))))

; Prints each of NAMES with the reason why it breaks the rule.
(defun print-offenders (names)
  (while (not (nullp names))
    (princ (strcat "  " (pad (car names) 15) (first-match (car names) reasons)))
    (setq names (cdr names))))

; Prints which of NAMES match PATTERN.
(defun print-selection (title names pattern / found)
  (setq found (select names pattern))
  (princ (strcat "  " (pad title 22) (pad pattern 12)
                 (if (nullp found) "none" (join found ", ")))))

; ---- The report -----------------------------------------------------------------------

; The two layers that each drawing has are under no rule.
(setq named (reject layers "0,DEFPOINTS"))
(setq good (select named rule))

(princ (strcat (length layers) " layers, " (length named) " under the rule, "
               (length good) " follow it"))
(princ "")
(princ "By discipline")
(print-disciplines good disciplines)
(princ "")
(princ "Not following the rule")
(print-offenders (reject named rule))
(princ "")
(princ "Selections")
(print-selection "Lettering" good "*-TEXT")
(print-selection "Beams and columns" good "S-[BC]*")
(print-selection "All numbered 02" good "*-02")
(print-selection "Not for architects" good "[~A]-*-01")
(print-selection "Three-letter words" good "?-???-*")
(print-selection "Plumbing" good "P-*")
