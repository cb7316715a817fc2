(defrule share
  =>
  (format t "%s has %d%%%n" "ann" 42))
