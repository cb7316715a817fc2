; A fact matches the patterns of its template and of the template's ancestors.
(deftemplate vehicle (slot wheels (default 4)))
(deftemplate bike extends vehicle (slot wheels (default 2)) (slot gears))
(deftemplate racer extends bike)
(deffacts garage (vehicle) (bike (gears 3)) (racer (gears 21)))
(defrule any (declare (salience 1)) (vehicle (wheels ?n)) => (printout t "vehicle " ?n crlf))
(defrule bikes (bike (gears ?n)) => (printout t "bike " ?n crlf))
; expect: vehicle 2
; expect: vehicle 2
; expect: vehicle 4
; expect: bike 21
; expect: bike 3
