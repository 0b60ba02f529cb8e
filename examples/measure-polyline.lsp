; measure-polyline.lsp - length and area of polylines with arcs.
;
; Teaches: reading the vertices and bulges of a polyline from its data list, plane geometry,
; and checking a result against what the drawing says itself.
;
; Behind each vertex (10 x y) of a light polyline stands the bulge (42 . b) of the segment
; that begins there; a polyline without arcs has none at all. The bulge is the tangent of a
; quarter of the arc's angle: 0 a straight line, 1 a half circle, above 0 counter-clockwise.
;
; Run it: vlisp run examples/measure-polyline.lsp

; ---- Vertices -------------------------------------------------------------------------

; The vertices of a polyline as a list of (point bulge).
(defun vertices (data / found entry)
  (setq found '())
  (while (setq entry (car data))
    (setq data (cdr data))
    (if (= (car entry) 10)
      (setq found (append found (list (list (cdr entry) (bulge-before data)))))))
  found)

; The bulge at the front of what follows a vertex; 0 when there is none.
(defun bulge-before (rest / entry)
  (setq entry (car rest))
  (if (= (car entry) 42) (cdr entry) 0.0))

; True when a polyline is closed.
(defun is-closed (data)
  (= (cdr (assoc 70 data)) 1))

; The segments of a polyline as a list of (from to bulge).
(defun segments (data / rest found)
  (setq rest (vertices data))
  (if (is-closed data)
    (setq rest (append rest (list (car rest)))))
  (setq found '())
  (while (not (nullp (cdr rest)))
    (setq found (append found (list (list (car (car rest))
                                          (car (cadr rest))
                                          (cadr (car rest))))))
    (setq rest (cdr rest)))
  found)

; ---- Arcs -----------------------------------------------------------------------------

(defun from-of (segment) (car segment))
(defun to-of (segment) (cadr segment))
(defun bulge-of (segment) (last segment))

(defun absolute (x)
  (if (< x 0) (- 0 x) x))

; The angle that a segment turns through, with its sign; 0 for a straight one.
(defun turn-of (segment)
  (* 4 (atan (bulge-of segment))))

; The radius of the arc of a segment that is not straight.
(defun radius-of (segment)
  (/ (distance (from-of segment) (to-of segment))
     (* 2 (sin (/ (absolute (turn-of segment)) 2)))))

; The length of a segment.
(defun segment-length (segment)
  (if (= (bulge-of segment) 0)
    (distance (from-of segment) (to-of segment))
    (* (radius-of segment) (absolute (turn-of segment)))))

; The area between an arc and its chord, above 0 when the arc bulges to the right.
(defun cap-area (segment / r turn)
  (if (= (bulge-of segment) 0)
    0.0
    (begin
      (setq r (radius-of segment))
      (setq turn (turn-of segment))
      (/ (* r r (- turn (sin turn))) 2))))

; The area between a chord and the origin, above 0 counter-clockwise.
(defun chord-area (segment / p q)
  (setq p (from-of segment))
  (setq q (to-of segment))
  (/ (- (* (car p) (cadr q)) (* (cadr p) (car q))) 2))

; ---- Polylines ------------------------------------------------------------------------

; The sum of what F gives for the segments.
(defun sum-of (f segments / total)
  (setq total 0.0)
  (while (not (nullp segments))
    (setq total (+ total (f (car segments))))
    (setq segments (cdr segments)))
  total)

(defun polyline-length (data)
  (sum-of segment-length (segments data)))

; The area that a closed polyline encloses.
(defun polyline-area (data)
  (absolute (+ (sum-of chord-area (segments data))
               (sum-of cap-area (segments data)))))

; ---- The report -----------------------------------------------------------------------

; Measures an entity, and lets the drawing tell the same.
(defun report (title name / data)
  (setq data (entget name))
  (princ title)
  (princ (strcat "  vertices " (length (vertices data))
                 ", length " (polyline-length data)))
  (if (is-closed data)
    (princ (strcat "  area " (polyline-area data))))
  (command "LIST" name ""))

(command "PLINE" '(0 0) '(30 0) '(30 40) "")
(report "An angle" (entlast))
(command "PLINE" '(0 0) '(60 0) "Arc" '(60 20) "Line" '(0 20) "Arc" "Close")
(report "A slot" (entlast))
(command "PLINE" '(0 0) '(0 50) '(50 50) "Arc" '(75 25) "Line" '(75 0) "Close")
(report "A plate with a rounded corner" (entlast))
