(deffacts offers
  (price 10.5)
  (offer ann 10)
  (offer bob 10.5))

(defrule met
  (price ?price)
  (offer ?name =(+ ?price 0))
  =>
  (printout t ?name " pays the price" crlf))
