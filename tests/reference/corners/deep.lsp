; Recursion as a program uses it.
(defun down (n) (if (< n 1) 0 (+ 1 (down (- n 1)))))          ; => DOWN
(down 400)                                                    ; => 400
(defun down (n / k) (setq k n) (cond ((< n 1) '()) (t (cons k (down (- n 1))))))  ; => DOWN
(length (down 300))                                           ; => 300
(defun even (n) (if (= n 0) t (odd (- n 1))))                 ; => EVEN
(defun odd (n) (if (= n 0) (not t) (even (- n 1))))           ; => ODD
(even 301)                                                    ; => nil
