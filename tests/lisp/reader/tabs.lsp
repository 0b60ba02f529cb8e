; A tab does not part two names; it becomes part of one.
(length '(a	b))               ; => 1
(length '(a b))               ; => 2
(length '(a	 b))              ; => 2
