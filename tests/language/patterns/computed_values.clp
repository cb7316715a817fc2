; A computed value of another type is another value: it raises nothing.
(deffacts d (key 1) (a 1) (a x) (a "1") (a 1.5) (a (create$)))
(defrule is (declare (salience 2)) (key ?k) (a ?v&=(str-cat ?k "")) => (printout t "is " ?v crlf))
(defrule is-not (declare (salience 1)) (key ?k) (a ?v&~=(+ ?k 0)) => (printout t "is not " ?v crlf))
(defrule none (key ?k) (not (a =(create$ ?k))) => (printout t "none" crlf))
; expect: is 1
; expect: is 1
; expect: is not 1.5000
; expect: is not x
; expect: none
