; Several slots in any order; a slot that is not named is not looked at.
(deftemplate person (slot name) (slot age (type INTEGER)) (slot town))
(deffacts d
  (person (name Ann) (age 30) (town Ulm))
  (person (name Bob) (age 30) (town Bonn))
  (person (name Cid) (age 17) (town Ulm)))
(defrule neighbours
  (declare (salience 1))
  (person (town ?town) (name ?a) (age ?old))
  (person (name ?b&~?a) (town ?town) (age ?young&:(< ?young ?old)))
  =>
  (printout t ?a " lives where " ?b " lives" crlf))
(defrule same-age
  (person (name ?a) (age ?age))
  (person (age ?age) (name ?b&:(> (str-compare ?b ?a) 0)))
  =>
  (printout t ?a " is as old as " ?b crlf))
; expect: Ann lives where Cid lives
; expect: Ann is as old as Bob
