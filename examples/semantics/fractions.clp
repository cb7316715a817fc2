(deftemplate order
  (slot boxes (type INTEGER)))

(deffacts orders
  (units 48))

(defrule pack
  (units ?units)
  =>
  (assert (order (boxes (/ ?units 12)))))

(defrule ship
  (order (boxes 4))
  =>
  (printout t "four boxes" crlf))
