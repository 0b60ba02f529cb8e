; A scan of a long text, character by character.
(setq text "")
(repeat 10000
  (setq text (strcat text "abcde")))

(setq found 0 at 1)
(while (<= at (strlen text))
  (if (= (substr text at 1) "c")
    (setq found (+ found 1)))
  (setq at (+ at 1)))

(princ found)
