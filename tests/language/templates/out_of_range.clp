; expect: <Fact-1>
; expect error: Parsing Error, Value "9" is not valid, Range must be between 1.0000 and 5.0000 in ParseValue(SlotTypes) at line 6:  ( assert ( p ( x 9 
; expect place: 6:15
(deftemplate p (slot x (range 1 5)))
(assert (p (x 5)))
(assert (p (x 9)))
