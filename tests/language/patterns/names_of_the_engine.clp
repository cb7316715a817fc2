; Names that the engine uses for itself are free for templates and variables.
(deftemplate test (slot x))
(deftemplate Initial-Fact (slot y))
(deffacts d (test (x 1)) (a 1 2))
(defrule element (a ?x ?) (test (= ?x 1)) => (printout t "element" crlf)) ; expect: element
(defrule rule-name (declare (salience -1)) (a ?__RULE ?__ERROR) => (printout t ?__RULE ?__ERROR crlf)) ; expect: 12
(defrule wildcard (declare (salience -2)) (a ? ?_blank_0) (test (= ?_blank_0 2)) => (printout t "wildcard" crlf)) ; expect: wildcard
