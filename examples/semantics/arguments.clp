; A function whose formals bear the names of its caller's variables.

(deffunction difference (?a ?b)
  (- ?a ?b))

(deffunction reversed (?a ?b)
  (difference ?b ?a))

(defrule show
  =>
  (printout t "reversed: " (reversed 10 3) crlf))
