; A whole number in a slot of floats becomes a float; a float without a fraction in a slot of
; integers becomes an integer, on every road.
(deftemplate point (slot x (type FLOAT)) (slot n (type INTEGER) (default 1.0))
  (multislot ns (type INTEGER) (allowed-integers 2.0 3 4)))
(assert (point (x 3) (n 2.0) (ns 3.0)))
(get-slot-value 1 x)
(get-slot-value 1 n)
; expect: <Fact-1>
; expect: 3.0000
; expect: 2
(defrule computed ?p <- (point (n 2.0) (ns 3)) => (modify ?p (n (/ 9 3)) (ns (create$ (+ 1.0 1) 3.0))))
(defrule changed (declare (salience -1)) ?p <- (point (n 3) (ns 2 3)) => (printout t changed crlf) (duplicate ?p (n 4.5)))
(defrule kept (declare (salience -2)) (point (n ?n&4.5)) => (printout t "unchecked: " ?n crlf))
(deffacts d (point (n 2) (ns 3)))
; expect: changed
; expect: unchecked: 4.5000
