; option: limit 2
; (run N) counts on its own; the next run goes on where it stopped.
(deffacts s (n 0))
(defrule count ?fact <- (n ?x) => (retract ?fact) (printout t ?x " ") (assert (n (+ ?x 1))))
(reset)    ; expect: TRUE
(run 3)    ; expect: 0 1 2 3
(run 1)    ; expect: 3 1
(run 0)    ; expect: 0
; The host resets and runs with its limit.
; expect: 0 1 
