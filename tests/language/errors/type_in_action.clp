; The rule that fails is named; the rules before it have done their work.
; expect: first
; expect error: Not a numeric type.  Value (x) is a dtAtom type
; expect place: rule second
(deffacts d (a x))
(defrule first (declare (salience 1)) (a ?) => (printout t "first" crlf))
(defrule second (a ?v) => (printout t (+ 1 ?v) crlf))
