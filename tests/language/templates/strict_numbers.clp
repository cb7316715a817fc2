; option: checks dynamic
; Numbers are made to fit before they are checked, the members of a list too.
(deftemplate p (slot f (type FLOAT)) (multislot fs (type FLOAT)) (slot n (type INTEGER)))
(deffacts d (p (f 1) (fs 1 2) (n 1.0)))
(defrule one (declare (salience 3)) ?p <- (p (fs 1.0 2.0)) => (modify ?p (f 2) (fs 3 (+ 2 2)) (n (/ 4 2))))
(defrule two (declare (salience 2)) ?p <- (p (f 2.0) (fs 3.0 4.0) (n 2)) => (duplicate ?p (fs (create$ 5 6))))
(defrule three (declare (salience 1)) ?p <- (p (fs 5.0 6.0)) => (printout t three crlf) (assert (p (fs (create$ 7 8)))))
(defrule four ?p <- (p (fs 7.0 8.0)) => (modify ?p (n (/ 3 2))))
; expect: three
; expect error: Not a INTEGER type.  Value (1.5000) is a dtFloat type for n slot
; expect place: rule four
