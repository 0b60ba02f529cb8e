; Counts the entities of the drawing that is open.
(princ (sslength (ssget "X")))
