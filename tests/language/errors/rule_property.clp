; expect error: Parsing Error, Expected rule property, salience, oneshot, or enabled in ParseRule at line 3:  ( defrule r ( declare ( priority 
; expect place: 3:22
(defrule r (declare (priority 1)) =>)
