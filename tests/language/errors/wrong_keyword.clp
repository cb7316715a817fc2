; expect error: Parsing Error, Invalid slot type: slott in ParseFactTemplateSlot at line 3:  ( deftemplate p ( slott 
; expect place: 3:17
(deftemplate p (slott x))
