; An integer in a slot of floats becomes a float, however it got there, and joins with floats.
(deftemplate point (slot x (type FLOAT)) (multislot ys (type FLOAT)))
(deftemplate wide (slot n (type FLOAT) (range 0 ?VARIABLE)) (slot low (type INTEGER FLOAT) (range ?VARIABLE 5) (default 1)))
(defglobal ?*two* = 2)
(deffacts points (point (x 1.0) (ys 2.0 3.0)) (wide (n 3000000000.5)))
(defrule computed (initial) => (assert (point (x (+ 1 0)) (ys (create$ 2 (+ 2 1) 4)))))
(defrule same (declare (salience -1)) (point (x ?x) (ys ? ? 4.0)) (point (x ?x) (ys ?a ?b))
  => (printout t "joined at " ?x " " ?a " " ?b crlf))
(defrule changed (declare (salience -2)) ?point <- (point (ys ?a ?b)) => (modify ?point (x ?*two*) (ys (create$ 5 6 7))))
(defrule seen (declare (salience -3)) (point (x 2) (ys 5.0 $? 7.0)) => (printout t "changed" crlf))
(deffacts start (initial))
; expect: joined at 1.0000 2.0000 3.0000
; expect: changed
