; ~, &, |, a predicate and a computed value in one field.
(deffacts d (n 1 2) (n 2 2) (n 3 4) (n 5 9))
(defrule not-literal (declare (salience 9)) (n ?x ~2) => (printout t "not 2: " ?x crlf))
(defrule not-variable (declare (salience 8)) (n ?x ~?x) => (printout t "differ: " ?x crlf))
(defrule two-nots (declare (salience 7)) (n ?x&~1&~5 ?) => (printout t "inner: " ?x crlf))
(defrule predicate (declare (salience 6)) (n ?x&:(> ?x 1)&:(< ?x 5) ?) => (printout t "between: " ?x crlf))
(defrule computed (declare (salience 5)) (n ?x =(+ ?x 1)) => (printout t "next: " ?x crlf))
(defrule not-computed (declare (salience 4)) (n ?x ~=(+ ?x 1)) => (printout t "not next: " ?x crlf))
(defrule either (declare (salience 3)) (n ?x&1|5 ?) => (printout t "either: " ?x crlf))
; expect: not 2: 5
; expect: not 2: 3
; expect: differ: 5
; expect: differ: 3
; expect: differ: 1
; expect: inner: 3
; expect: inner: 2
; expect: between: 3
; expect: between: 2
; expect: next: 3
; expect: next: 1
; expect: not next: 5
; expect: not next: 2
; expect: either: 5
; expect: either: 1
