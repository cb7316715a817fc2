; A bound pattern gives the fact's id to the actions.
(deffacts d (item a) (item b))
(defrule take
  ?fact <- (item ?name)
  =>
  (printout t ?fact " " ?name " " (get-slot-value ?fact) crlf)
  (retract ?fact))
(defrule nothing-left (not (item ?)) => (printout t "nothing left" crlf))
; expect: <Fact-2> b (b )
; expect: <Fact-1> a (a )
; expect: nothing left
