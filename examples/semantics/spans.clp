; A list is cut in two in every way.

(deffacts cargo
  (load truck)
  (list a b))

(defrule cut
  (load ?)
  (list $?first $?second)
  =>
  (printout t "first: " ?first " second: " ?second crlf))
