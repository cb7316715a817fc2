; Which orders have items?

(deffacts orders
  (order 1)
  (order 2)
  (item 1 pen)
  (item 1 ink))

(defrule has-items
  (order ?number)
  (exists (item ?number ?))
  =>
  (printout t "order " ?number " has items" crlf))
