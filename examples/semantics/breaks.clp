(defrule table
  =>
  (printout t "name\tage\nann\t42" crlf))
