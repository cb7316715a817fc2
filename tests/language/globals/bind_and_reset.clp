; A global is bound everywhere; a reset gives it its first value again, evaluated anew.
(defglobal ?*count* = 0 ?*label* = (gensym*))
?*label*                        ; expect: gen0
(bind ?*count* 5)               ; expect: 5
(deffunction more () (bind ?*count* (+ ?*count* 1)))
(more)                          ; expect: 6
?*count*                        ; expect: 6
(deffacts d (a) (b))
(defrule use (declare (salience 1)) (a) => (bind ?*count* (+ ?*count* 10)))
(defrule tell (b) => (printout t ?*count* crlf))
; expect: 10
