; The number of fields counts; fields are tested by position.
(deftemplate p (slot n) (multislot tags))
(deffacts s (p (n 1) (tags a b c)) (p (n 2) (tags)) (p (n 3) (tags c)))
(defrule empty (declare (salience 4)) (p (n ?n) (tags)) => (printout t "empty " ?n crlf))
(defrule one (declare (salience 3)) (p (n ?n) (tags ?t)) => (printout t "one " ?n " " ?t crlf))
(defrule three (declare (salience 2)) (p (tags a ?t ~d) (n ?n)) => (printout t "three " ?n " " ?t crlf))
(defrule any (p (n ?n)) => (printout t "any " ?n crlf))
; expect: empty 2
; expect: one 3 c
; expect: three 1 b
; expect: any 3
; expect: any 2
; expect: any 1
