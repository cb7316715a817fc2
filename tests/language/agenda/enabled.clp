; A rule that is not enabled gets no activations.
(deffacts s (a))
(defrule off (declare (enabled FALSE)) (a) => (printout t "off" crlf))
(defrule on (declare (enabled (= 1 1)) (salience -1)) (a) => (printout t "on" crlf))
; expect: on
