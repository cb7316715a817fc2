; A fact answers for itself, though its value is the same term as that of another.
(deftype heat extends (type FUZZY) (range 0 40) (values (term hot (s 20 30))))
(deftemplate room (slot name) (slot air (type heat)))
(deffacts rooms (room (name a) (air hot)) (room (name b) (air hot)))
(defrule show
  ?a <- (room (name a) (air ?air))
  ?b <- (room (name b))
  =>
  (moment-defuzzify ?a)
  (printout t (is-undecidable ?a) " " (is-undecidable ?air) " " (is-undecidable ?b) crlf)
  (moment-defuzzify (create-fuzzy-value heat hot))
  (printout t (is-undecidable ?b) crlf)
  (bind ?c (modify ?a (name c)))
  (printout t (is-undecidable ?c) crlf)
  (bind ?d (assert (room (name d) (air (get-slot-value ?b air)))))
  (moment-defuzzify ?d)
  (printout t (is-undecidable ?b) (is-undecidable ?d) crlf))
; expect: FALSE FALSE TRUE
; expect: TRUE
; expect: TRUE
; expect: TRUEFALSE
