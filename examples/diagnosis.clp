; A small diagnosis: why a bicycle lamp stays dark. It shows patterns on what is not there, tests,
; and multifields.

(deftemplate lamp
  (slot name)
  (slot kind (allowed-values battery dynamo))
  (multislot signs))

(deftemplate check
  (slot lamp)
  (slot part)
  (slot volts (type NUMBER) (default 0)))

(deftemplate cause
  (slot lamp)
  (slot is)
  (slot weight (type INTEGER) (default 1)))

(deffacts workshop
  (lamp (name front) (kind dynamo) (signs dark flickers-uphill))
  (lamp (name rear) (kind battery) (signs dark))
  (lamp (name spare) (kind battery) (signs dark smells warm))
  (check (lamp front) (part wire) (volts 5.8))
  (check (lamp rear) (part battery) (volts 1.1)))

; What a sign says by itself: it may stand anywhere among the signs.

(defrule flickering-is-a-loose-contact
  (lamp (name ?lamp) (signs $? flickers-uphill $?))
  =>
  (assert (cause (lamp ?lamp) (is loose-contact) (weight 3))))

(defrule smell-behind-darkness-is-a-short-circuit
  (lamp (name ?lamp) (signs dark $? smells $?rest))
  =>
  (printout t ?lamp ": smells, and besides that: " ?rest crlf)
  (assert (cause (lamp ?lamp) (is short-circuit) (weight 5))))

; What a measurement says.

(defrule low-voltage-is-an-empty-battery
  (lamp (name ?lamp) (kind battery))
  (check (lamp ?lamp) (part battery) (volts ?volts))
  (test (< ?volts 1.2))
  =>
  (assert (cause (lamp ?lamp) (is empty-battery) (weight 4))))

(defrule good-wire-clears-the-contact
  ?cause <- (cause (lamp ?lamp) (is loose-contact) (weight ?weight&:(> ?weight 1)))
  (check (lamp ?lamp) (part wire) (volts ?volts&:(> ?volts 5)))
  =>
  (modify ?cause (weight (- ?weight 2))))

; What the absence of everything else says.

(defrule nothing-else-is-the-bulb
  (declare (salience -10))
  (lamp (name ?lamp) (kind ~battery) (signs $? dark $?))
  (not (cause (lamp ?lamp) (weight ?weight&:(> ?weight 1))))
  =>
  (assert (cause (lamp ?lamp) (is broken-bulb) (weight 2))))

(defrule tell-the-heaviest
  (declare (salience -20))
  (lamp (name ?lamp))
  (cause (lamp ?lamp) (is ?cause) (weight ?weight))
  (not (cause (lamp ?lamp) (weight ?more&:(> ?more ?weight))))
  =>
  (printout t ?lamp ": most likely " ?cause crlf))
