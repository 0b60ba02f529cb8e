; Nothing but starting up and saying so.
(princ "ready")
