; Salience first; within one salience at the top of the agenda the newest activation.
(deffacts s (a 1) (a 2))
(defrule low (declare (salience -5)) (a ?x) => (printout t "low " ?x crlf))
(defrule high (declare (salience (+ 2 3))) (a ?x) => (printout t "high " ?x crlf))
(defrule plain (a ?x&:(< ?x 3)) => (printout t "plain " ?x crlf) (assert (a (+ ?x 2))))
; expect: high 2
; expect: high 1
; expect: plain 2
; expect: high 4
; expect: plain 1
; expect: high 3
; expect: low 3
; expect: low 4
; expect: low 2
; expect: low 1
