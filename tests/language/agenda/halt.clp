; The rule that halts finishes its actions; what waits stays on the agenda.
(deffacts s (n 0))
(defrule count
  ?fact <- (n ?x)
  =>
  (retract ?fact)
  (if (= ?x 2) then (halt))
  (printout t "n is " ?x crlf)
  (assert (n (+ ?x 1))))
; expect: n is 0
; expect: n is 1
; expect: n is 2
