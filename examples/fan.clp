; How fast is the fan to turn? Nine rules say it in words: for a temperature that is cool, pleasant or
; hot, and air that is dry, normal or damp. Readings between the words belong to two of them in part;
; so several rules fire, each as strongly as its words are true. What they assert is weakened by that
; strength, and united in one fact; the centre of what has come together is the speed.

(deftype temperature extends (type FUZZY)
   (range 0 40)
   (units C)
   (values
      (term cool ((15 1) (22 0)))
      (term pleasant (tri 16 22 28))
      (term hot ((22 0) (32 1)))))

(deftype humidity extends (type FUZZY)
   (range 0 100)
   (units "% r.h.")
   (values
      (term dry ((20 1) (45 0)))
      (term normal ((25 0) (40 1) (60 1) (75 0)))
      (term damp ((55 0) (80 1)))))

(deftype fan-speed extends (type FUZZY)
   (range 0 100)
   (units %)
   (values
      (term idle (tri 0 0 25))
      (term slow (tri 10 30 50))
      (term brisk (tri 40 60 80))
      (term full ((70 0) (90 1) (100 1)))))

(deftemplate reading (slot temperature (type temperature)) (slot humidity (type humidity)))
(deftemplate fan (slot speed (type fan-speed)))

(defrule cool-dry (reading (temperature cool) (humidity dry)) => (assert (fan (speed idle))))
(defrule cool-normal (reading (temperature cool) (humidity normal)) => (assert (fan (speed idle))))
(defrule cool-damp (reading (temperature cool) (humidity damp)) => (assert (fan (speed slow))))
(defrule pleasant-dry
   (reading (temperature pleasant) (humidity dry)) => (assert (fan (speed idle))))
(defrule pleasant-normal
   (reading (temperature pleasant) (humidity normal)) => (assert (fan (speed slow))))
(defrule pleasant-damp
   (reading (temperature pleasant) (humidity damp)) => (assert (fan (speed brisk))))
(defrule hot-dry (reading (temperature hot) (humidity dry)) => (assert (fan (speed brisk))))
(defrule hot-normal (reading (temperature hot) (humidity normal)) => (assert (fan (speed brisk))))
(defrule hot-damp (reading (temperature hot) (humidity damp)) => (assert (fan (speed full))))

; When all rules have spoken, the speed for this reading is known.
(defrule show
   (declare (salience -10))
   ?reading <- (reading)
   ?fan <- (fan)
   =>
   (format t "%8.1f" (moment-defuzzify ?fan))
   (retract ?reading ?fan))

; The table: a row for each temperature, a column for each humidity.
(deffacts table (row 10) (row 15) (row 20) (row 25) (row 30) (row 35))
(deftemplate cell (slot temperature) (slot humidity))

; Every membership counts, however small: a rule that is heard from 0.01 on only makes the speed jump
; where its words begin.
(defrule heading
   (declare (salience 10))
   (Initial-Fact)
   =>
   (set-fuzzy-threshold 0)
   (printout t "  C \\ %       10      30      50      70      90"))

(defrule begin-row
   (declare (salience -30))
   ?row <- (row ?temperature)
   (not (row ?earlier&:(< ?earlier ?temperature)))
   =>
   (retract ?row)
   (format t "%n%7d " ?temperature)
   (foreach humidity (create$ 10 30 50 70 90)
      (assert (cell (temperature ?temperature) (humidity ?humidity)))))

(defrule read-cell
   (declare (salience -20))
   ?cell <- (cell (temperature ?temperature) (humidity ?humidity))
   (not (cell (humidity ?earlier&:(< ?earlier ?humidity))))
   =>
   (retract ?cell)
   (assert (reading (temperature ?temperature) (humidity ?humidity))))

(defrule end-of-table
   (declare (salience -40))
   (not (row ?))
   (not (cell))
   =>
   (printout t crlf))
