; An activation whose facts go does not fire; a rule that retracts its own fact goes on to its end.
(deffacts s (a) (b))
(defrule first (declare (salience 1)) ?fact <- (a) => (retract ?fact) (printout t "first" crlf))
(defrule second (a) (b) => (printout t "never" crlf))
(defrule third (b) => (printout t "third" crlf))
; expect: first
; expect: third
