(defrule colors
  =>
  (printout t (or (member green red blue) (member green yellow green)) crlf))
