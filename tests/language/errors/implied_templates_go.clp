; A text that is refused takes the templates along that it has implied, if nothing else uses them.
(parse "(defrule r (exists (x ?y)) (not (and (a) (b))) => (assert (c 1)))") ; expect: FALSE
(parse "(defrule r (used 1) (x 1) => (assert (c 1)) missing") ; expect: FALSE
(parse "(deffacts d (x 1) (c 2")               ; expect: FALSE
(parse "(deffunction f () (assert (x 1)) ]")   ; expect: FALSE
(parse "(assert (used 1) (x (/ 1 0)))")        ; expect: FALSE
(list-deftemplates)
; expect: Initial-Fact
; expect: __NOT-OR-TEST-CE*
; expect: used
; expect: for a total of 3 deftemplates.
; A template may have the name of a foreign element.
(defrule gate (and ?a ?b) => (printout t ?a ?b crlf))
(deffacts gates (and 1 2)) ; expect: 12
