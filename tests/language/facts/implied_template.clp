; A fact of an unknown name is an ordered list of values.
(assert (colour red 1 "two" 3.0))  ; expect: <Fact-1>
(get-slot-value 1)                 ; expect: red 1 "two" 3.0000 
(length$ (get-slot-value 1))       ; expect: 4
(defrule r (colour ?first $?rest) => (printout t ?first ": " ?rest crlf))
(deffacts d (colour blue) (colour green 1 2))
; expect: green: (1 2 )
; expect: blue: ()
