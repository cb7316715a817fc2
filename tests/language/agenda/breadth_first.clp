; option: strategy breadth
; The oldest activation of the lowest salience goes first.
(deffacts s (a 1) (a 2) (a 3))
(defrule plain (a ?x) => (printout t "plain " ?x crlf) (assert (b ?x)))
(defrule then (b ?x) => (printout t "then " ?x crlf))
; expect: plain 1
; expect: plain 2
; expect: plain 3
; expect: then 1
; expect: then 2
; expect: then 3
