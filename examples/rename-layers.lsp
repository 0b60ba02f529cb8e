; rename-layers.lsp - gives the layers of a drawing the names of an office standard.
;
; Teaches: walking a drawing with ENTNEXT, changing entities with ENTMOD, and how little
; ENTMOD needs.
;
; ENTMOD makes the points of an entity those of the list that it is given, so all entries
; with code 10 must be in it. Other entries may be left out, and what is left out stays as
; it is. A list that holds no more than name, points and what changes is the safest: given
; back whole, a polyline would have its bulges twice.
;
; Run it: vlisp run examples/rename-layers.lsp

; ---- The standard ---------------------------------------------------------------------

; Patterns for old names, and the name that each becomes. The first that matches counts.
(setq standard '(("WALL*,MUR*" "A-WALL")
                 ("DOOR*,PORTE*" "A-DOOR")
                 ("TXT*,*NOTE*" "A-TEXT")))

; The new name for a layer; the old one when the standard does not know it.
(defun standard-name (layer / rules found)
  (setq rules standard)
  (setq found layer)
  (while (not (nullp rules))
    (if (wcmatch (strcase layer) (car (car rules)))
      (setq found (cadr (car rules)) rules '())
      (setq rules (cdr rules))))
  found)

; ---- Entities -------------------------------------------------------------------------

; The layer of an entity.
(defun layer-of (data)
  (cdr (assoc 8 data)))

; What ENTMOD needs to put an entity on LAYER: its name, the layer, and its points.
(defun on-layer (data layer)
  (append (list (assoc -1 data) (cons 8 layer))
          (vl-remove-if '(lambda (entry) (/= (car entry) 10)) data)))

; Calls F with the data list of each entity of the drawing.
(defun for-each-entity (f / name)
  (setq name (entnext))
  (while name
    (f (entget name))
    (setq name (entnext name))))

; ---- The change -----------------------------------------------------------------------

; Counts what is changed.
(setq changed 0)

(defun rename-one (data / layer new)
  (setq layer (layer-of data))
  (setq new (standard-name layer))
  (if (/= layer new)
    (begin
      (entmod (on-layer data new))
      (setq changed (+ changed 1)))))

; Makes the layers of the standard, renames, and says how much it did.
(defun rename-layers (/ rules)
  (setq rules standard)
  (while (not (nullp rules))
    (command "LAYER" "New" (cadr (car rules)) "")
    (setq rules (cdr rules)))
  (setq changed 0)
  (for-each-entity rename-one)
  (princ (strcat changed " entities changed")))

; ---- An old drawing -------------------------------------------------------------------

; Prints kind and layer of an entity.
(defun show-entity (data)
  (princ (strcat "  " (cdr (assoc 0 data)) " on " (layer-of data))))

(command "LAYER" "Make" "Walls1" "")
(command "LINE" '(0 0) '(4000 0) '(4000 3000) "")
(command "LAYER" "Make" "mur-ext" "")
(command "PLINE" '(0 0) '(0 3000) "Arc" '(4000 3000) "")
(command "LAYER" "Make" "DOORS" "")
(command "ARC" "Center" '(1000 0) '(1900 0) "Angle" 90)
(command "LAYER" "Make" "TXT_1" "")
(command "TEXT" '(500 500) 250 0 "Hall")
(command "LAYER" "Make" "GRID" "")
(command "LINE" '(0 1500) '(4000 1500) "")

(princ "Before:")
(for-each-entity show-entity)
(rename-layers)
(princ "After:")
(for-each-entity show-entity)
(princ "A second time:")
(rename-layers)
(princ "The polyline still has its arc:")
(command "LIST" (ssget "X" '((0 . "LWPOLYLINE"))) "")
