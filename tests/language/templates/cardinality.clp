; expect: <Fact-1>
; expect error: Parsing Error, Value "a b c " is not valid, Multislot must have between 1 and 2 elements in ParseValue(SlotTypes) at line 5:  ( assert ( p ( x a b c 
(deftemplate p (multislot x (cardinality 1 2)))
(assert (p (x a b)))
(assert (p (x a b c)))
