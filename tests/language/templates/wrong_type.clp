; expect error: Parsing Error, Not a INTEGER type.  Value (abc) is a dtAtom type for ParseValue slot in ParseValue(SlotTypes) at line 4:  ( deffacts d ( p ( x abc 
; expect place: 4:19
(deftemplate p (slot x (type INTEGER)))
(deffacts d (p (x abc)))
