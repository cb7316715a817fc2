; What defines a global is evaluated at once, and again by a reset, behind what it reads.
(defglobal ?*b* = 0 ?*z* = 1 ?*c* = (+ ?*z* 1) ?*l* = (create$ ?*z* 2))
(defglobal ?*b* = ?*z*)
(eq ?*b* 1)             ; expect: TRUE
(eq ?*c* 2)             ; expect: TRUE
(eq ?*l* (create$ 1 2)) ; expect: TRUE
(bind ?*z* 100)         ; expect: 100
(deffacts start (a 1))
(defrule same (a ?x&?*b*) => (printout t ?*b* " " ?*c* " " ?*l* crlf))
; expect: 1 2 (1 2 )
