; polygon.lsp - areas, perimeters, angles and centres of triangles and polygons.
;
; Teaches: points as lists, plane geometry with DISTANCE, ANGLE, POLAR and INTERS, and
; walking round a closed figure.
;
; A polygon is the list of its corners, in order, the last one joined to the first.
; Angles are in radians, except where they are printed.
;
; INTERS meets segments only, and answers (0 0) where they do not meet. So lines are made
; long enough with POLAR before they are crossed, and the figures keep off the origin.
;
; Run it: vlisp run examples/polygon.lsp

; ---- Points and angles ----------------------------------------------------------------

; The coordinates of the point P.
(defun x-of (p) (car p))
(defun y-of (p) (cadr p))

; The point half way from P to Q.
(defun midpoint (p q)
  (polar p (angle p q) (/ (distance p q) 2)))

; An angle in degrees.
(defun degrees (a)
  (/ (* a 180) pi))

; The angle at B between the directions to A and to C, from 0 to PI.
(defun corner-angle (a b c / turn)
  (setq turn (- (angle b a) (angle b c)))
  (if (< turn 0) (setq turn (- 0 turn)))
  (if (> turn pi) (- (* 2 pi) turn) turn))

; ---- Any polygon ----------------------------------------------------------------------

; CORNERS with the first one once more at the end, so that each side is the way from one
; element to the next.
(defun closed (corners)
  (append corners (list (car corners))))

; The length of all sides.
(defun perimeter (corners / path total)
  (setq path (closed corners))
  (setq total 0.0)
  (while (not (nullp (cdr path)))
    (setq total (+ total (distance (car path) (cadr path))))
    (setq path (cdr path)))
  total)

; Twice the area of the triangle that the side P Q spans with the origin, below 0 when it
; is run through clockwise.
(defun cross (p q)
  (- (* (x-of p) (y-of q)) (* (x-of q) (y-of p))))

; The area, above 0 when the corners run counter-clockwise.
(defun signed-area (corners / path total)
  (setq path (closed corners))
  (setq total 0.0)
  (while (not (nullp (cdr path)))
    (setq total (+ total (cross (car path) (cadr path))))
    (setq path (cdr path)))
  (/ total 2))

; The area, whichever way the corners run.
(defun area (corners / a)
  (setq a (signed-area corners))
  (if (< a 0) (- 0 a) a))

; The centre of gravity: the mean of the triangles that the sides span with the origin,
; each weighted with its area.
(defun centroid (corners / path sx sy weight)
  (setq path (closed corners))
  (while (not (nullp (cdr path)))
    (setq weight (/ (cross (car path) (cadr path)) (* 6 (signed-area corners))))
    (setq sx (+ sx (* weight (+ (x-of (car path)) (x-of (cadr path))))))
    (setq sy (+ sy (* weight (+ (y-of (car path)) (y-of (cadr path))))))
    (setq path (cdr path)))
  (list sx sy))

; True when the side A B passes the height of P on the right of P. The lower end counts
; as part of the side, the upper one does not, lest a corner be counted twice.
(defun passes-right (p a b)
  (if (= (<= (y-of a) (y-of p)) (<= (y-of b) (y-of p)))
    (not T)
    (< (x-of p)
       (+ (x-of a)
          (/ (* 1.0 (- (x-of b) (x-of a)) (- (y-of p) (y-of a)))
             (- (y-of b) (y-of a)))))))

; True when P lies in the polygon: an odd number of sides passes on its right.
(defun inside (p corners / path odd)
  (setq path (closed corners))
  (setq odd (not T))
  (while (not (nullp (cdr path)))
    (if (passes-right p (car path) (cadr path))
      (setq odd (not odd)))
    (setq path (cdr path)))
  odd)

; The regular polygon of N corners on the circle of RADIUS round CENTRE.
(defun regular (centre radius n / corners i)
  (setq corners '())
  (repeat n
    (setq corners (append corners (list (polar centre (/ (* 2 pi i) n) radius))))
    (setq i (+ i 1)))
  corners)

; ---- Triangles ------------------------------------------------------------------------

; Where two lines cross, each given by a point and a direction.
(defun crossing (p a q b / far)
  (setq far 10000.0)
  (inters (polar p a (- 0 far)) (polar p a far)
          (polar q b (- 0 far)) (polar q b far)))

; The centre of the circle through A, B and C: the lines square to two sides in their
; middle cross there.
(defun circumcentre (a b c)
  (crossing (midpoint a b) (+ (angle a b) (/ pi 2))
            (midpoint b c) (+ (angle b c) (/ pi 2))))

; The point where the three heights of a triangle cross.
(defun orthocentre (a b c)
  (crossing a (+ (angle b c) (/ pi 2))
            b (+ (angle c a) (/ pi 2))))

; The area of a triangle from its sides alone, after Heron.
(defun heron (a b c / s)
  (setq s (/ (perimeter (list a b c)) 2))
  (sqrt (* s (- s (distance a b)) (- s (distance b c)) (- s (distance c a)))))

; ---- The report -----------------------------------------------------------------------

; A point as text: x, y.
(defun point-text (p)
  (strcat (x-of p) ", " (y-of p)))

; Prints all about the polygon CORNERS.
(defun show-polygon (title corners)
  (princ title)
  (princ (strcat "  perimeter     " (perimeter corners)))
  (princ (strcat "  area          " (area corners)
                 (if (< (signed-area corners) 0) ", clockwise" ", counter-clockwise")))
  (princ (strcat "  centroid      " (point-text (centroid corners)))))

; Prints all about the triangle A B C.
(defun show-triangle (title a b c / centre)
  (setq centre (circumcentre a b c))
  (show-polygon title (list a b c))
  (princ (strcat "  after Heron   " (heron a b c)))
  (princ (strcat "  angles        " (degrees (corner-angle c a b)) ", "
                 (degrees (corner-angle a b c)) ", " (degrees (corner-angle b c a))))
  (princ (strcat "  circumcentre  " (point-text centre)))
  (princ (strcat "  its distances " (distance centre a) ", "
                 (distance centre b) ", " (distance centre c)))
  (princ (strcat "  orthocentre   " (point-text (orthocentre a b c))))
  (princ ""))

; Prints on which side of the polygon CORNERS the point P lies.
(defun show-inside (p corners)
  (princ (strcat "  " (point-text p) " is " (if (inside p corners) "inside" "outside"))))

(show-triangle "Triangle 3-4-5" '(1 1) '(4 1) '(4 5))
(show-triangle "Triangle with an obtuse angle" '(10 2) '(18 2) '(9 6))
(show-polygon "Hexagon" (regular '(5 5) 2 6))

(setq ell '((2 2) (2 8) (4 8) (4 4) (9 4) (9 2)))
(princ "")
(show-polygon "L-shaped room" ell)
(show-inside '(3 7) ell)
(show-inside '(8 3) ell)
(show-inside '(6 6) ell)
(show-inside '(1 4) ell)
(show-inside (centroid ell) ell)
