(defglobal ?*limit* = 10 ?*least* = ?*limit*)

(deffacts stock
  (boxes 10))

(defrule low
  (boxes ?n&:(eq ?n ?*least*))
  =>
  (printout t "order boxes" crlf))
