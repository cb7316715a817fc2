; A list of symbols restricts words alone; a list of values restricts every kind.
(deftemplate light
  (slot colour (allowed-symbols red green))
  (slot level (allowed-values 1 2 full)))
(assert (light (colour red) (level full)))     ; expect: <Fact-1>
(assert (light (colour "red") (level 2)))      ; expect: <Fact-2>
(try (assert-string "(light (level 3))") catch (printout t "refused" crlf))   ; expect: refused
(assert (light (colour blue)))
; expect error: Parsing Error, Value "blue" is not valid, Not in allowed values in ParseValue(SlotTypes) at line 8:  ( assert ( light ( colour blue 
; expect place: 8:24
