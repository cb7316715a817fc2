; A slot may narrow a defined type without changing it for others.
(deftype month "of the year" extends (type INTEGER) (range 1 12))
(deftemplate summer (slot m (type month) (range 6 8)))
(deftemplate any (slot m (type month)))
(assert (any (m 12)))
(assert (summer (m 7)))
; expect: <Fact-1>
; expect: <Fact-2>
(assert (summer (m 9)))
; expect error: Parsing Error, Value "9" is not valid, Range must be between 6.0000 and 8.0000 in ParseValue(SlotTypes) at line 9:  ( assert ( summer ( m 9 
