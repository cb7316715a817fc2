; A rule of the same name takes the old one's place, with its activations.
(assert (a 1))                  ; expect: <Fact-1>
(defrule r (a ?x) => (printout t "old " ?x crlf))
(defrule r (a ?x) => (printout t "new " ?x crlf))
(run)
; expect: new 1
; expect: 1
(undefrule r)                   ; expect: TRUE
; Nothing is left for the run that follows.
