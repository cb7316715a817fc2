; expect error: Parsing Error, Expected "=>" in ParseRule at line 5:  ( defrule r ( a ) printout t 
(defrule r
  (a)

  printout t "x" crlf)
