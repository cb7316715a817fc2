; Literals, wildcards, variables shared within one pattern and between two.
(deffacts d (p 1 2) (p 2 3) (p 3 3) (p 3 "3") (q 3))
(defrule literal (declare (salience 9)) (p 1 ?x) => (printout t "literal " ?x crlf))
(defrule string (declare (salience 8)) (p ?x "3") => (printout t "string " ?x crlf))
(defrule same (declare (salience 7)) (p ?x ?x) => (printout t "same " ?x crlf))
(defrule across (declare (salience 6)) (q ?y) (p ?x ?y) => (printout t "across " ?x crlf))
(defrule any (declare (salience 5)) (p 2 ?) => (printout t "any" crlf))
(defrule length (declare (salience 4)) (p ?) => (printout t "never" crlf))
; expect: literal 2
; expect: string 3
; expect: same 3
; expect: across 3
; expect: across 2
; expect: any
