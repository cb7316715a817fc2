; Functions of the program serve in patterns and actions, also when they are defined later.
(deffacts d (n 3) (n 4) (n 9))
(defrule square
  (n ?x)
  (test (is-square ?x))
  =>
  (printout t ?x " has the root " (root ?x) crlf))
(deffunction root (?x) (integer (sqrt ?x)))
(deffunction is-square (?x) (= ?x (* (root ?x) (root ?x))))
; expect: 9 has the root 3
; expect: 4 has the root 2
