; A called function sees its parameters, its own variables and the globals, and binds no others.
(defglobal ?*total* = 1)
(deffunction sees (?name) (is-binding ?name))
(deffunction binds () (bind ?x inside) (bind ?*total* (+ ?*total* 1)))
(deffunction hides (?*total*) (binds) ?*total*)
(deffunction calls (?x)
  (foreach ?item (create$ a) (bind ?y (binds)))
  (printout t ?x " " ?y " " (sees x) " " (is-binding x) " " (sees y) crlf))
(calls 5)                       ; expect: 5 2 FALSE TRUE FALSE
(hides 40)                      ; expect: 40
?*total*                        ; expect: 3
(bind ?top 7)                   ; expect: 7
(sees top)                      ; expect: TRUE
(deffacts start (a 1))
(deffunction reads-x () (+ ?x 1))
(defrule caller (a ?x) => (printout t (sees x) " " ?x crlf) (reads-x))
; expect: FALSE 1
; expect error: Unknown variable name: x
; expect place: rule caller
