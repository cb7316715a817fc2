(defglobal ?*urgent* = 5)

(deffacts start
  (step 1))

(defrule first
  (declare (salience 20))
  ?step <- (step 1)
  =>
  (bind ?*urgent* 15)
  (retract ?step)
  (assert (step 2)))

(defrule middle
  (declare (salience 10))
  (step 2)
  =>
  (printout t "middle" crlf))

(defrule urgent
  (declare (salience ?*urgent*))
  (step 2)
  =>
  (printout t "urgent" crlf))
