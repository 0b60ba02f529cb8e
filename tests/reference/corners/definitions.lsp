; DEFINE and DEFUN of odd names.
(define a 1)                               ; => 1
(define)                                   ; => nil
(define a)                                 ; => nil
a                                          ; => nil
(define "A" 2)                             ; => 2
a                                          ; => 2
(defun f (x) (define a x) (define b a) a)  ; => F
(f 9)                                      ; => 9
a                                          ; => 2
b                                          ; error: ;error; undefined symbol 'B'
(defun c:box (x) (list x))                 ; => BOX
(box 1)                                    ; => (1)
(c:box 1)                                  ; error: ;error; undefined symbol 'C:BOX'
(defun "G" (x) x)                          ; => G
(g 1)                                      ; => 1
(defun (g) (x) 2)                          ; =>
(define c zzz)                             ; error: ;error; undefined symbol 'ZZZ'
c                                          ; => nil
