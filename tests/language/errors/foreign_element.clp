; expect error: Parsing Error, There is no conditional element "or" in ParsePattern at line 3:  ( defrule r ( not ( or 
; expect place: 3:21
(defrule r (not (or (a) (b))) =>)
