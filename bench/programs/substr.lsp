; A scan of a text of 100,000 characters, character by character, 40 times.
(defun main (/ text at found)
  (setq text "")
  (repeat 20000
    (setq text (strcat text "abcde")))
  (setq found 0)
  (repeat 40
    (setq at 1)
    (repeat (strlen text)
      (if (= (substr text at 1) "c")
        (setq found (+ found 1)))
      (setq at (+ at 1))))
  (princ found))

(main)
