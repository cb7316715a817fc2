; option: literal
; In the literal meaning a maximum below the minimum takes it along.
(deftemplate p (slot x (range 10 0)) (multislot y (cardinality 3 1)))
(assert (p (x 0) (y a)))        ; expect: <Fact-1>
(assert (p (x 1)))
; expect error: Parsing Error, Value "1" is not valid, Range must be between 0.0000 and 0.0000 in ParseValue(SlotTypes) at line 5:  ( assert ( p ( x 1 
