; expect error: Parsing Error, Not a INTEGER type.  Value (1.5000) is a dtFloat type for ParseValue slot in ParseValue(SlotTypes) at line 4:  ( assert ( p ( n 1 ) ( n 1.5000 
; expect place: 4:20
(deftemplate p (slot n (type INTEGER)))
(assert (p (n 1)(n 1.5)))
