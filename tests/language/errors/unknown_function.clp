; A name without a function is found out when it is called.
; expect: TRUE
; expect: before
; expect error: Function is unimplemented or unassigned: prnitout
; expect place: rule r
(deffacts d (a))
(defrule r (a) => (printout t "before" crlf) (prnitout t "after" crlf))
TRUE
