; The knowledge base of the guide: what is to be done about the food in a fridge.

(deftemplate food
  (slot name)
  (slot days (type INTEGER) (default 0)))

(deffacts fridge
  (food (name milk) (days 9))
  (food (name cheese) (days 12))
  (food (name apples)))

(defrule throw-away
  ?food <- (food (name ?name) (days ?days&:(> ?days 10)))
  =>
  (printout t "Throw the " ?name " away, it is " ?days " days old." crlf)
  (retract ?food))

(defrule use-soon
  (declare (salience 10))
  ?food <- (food (name ?name) (days ?days&:(> ?days 7)&:(<= ?days 10)))
  =>
  (printout t "Drink the " ?name " today." crlf)
  (modify ?food (days 0)))

(defrule nothing-else-to-do
  (declare (salience -10))
  (not (food (days ?days&:(> ?days 7))))
  =>
  (printout t "Everything is fresh." crlf))
