; test sees the variables of the patterns before it; (not (test ...)) is its opposite.
(deffacts d (box 2 3) (box 4 4))
(defrule equal (declare (salience 1)) (box ?a ?b) (test (= ?a ?b)) => (printout t ?a "=" ?b crlf))
(defrule unequal (box ?a ?b) (not (test (= ?a ?b))) => (printout t ?a "/" ?b crlf))
; expect: 4=4
; expect: 2/3
