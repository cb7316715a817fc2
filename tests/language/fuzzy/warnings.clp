; What is taken though hardly meant is warned of. Terms that stick out of the range are no such
; thing, nor are numbers that are no reading.
(deftype heat extends (type FUZZY)
  (range 0 40)
  (values
    (term cold (z 20 10))
    (term shoulder (tri -10 0 10))
    (term far (tri 50 60 70))
    (term part (tri 30 45 60))))
(deftype chill extends (type FUZZY) (range 10 0) (values (term deep (z 2 8))))
(deftype warmth extends (type heat) (values (term cold (z 5 15))))
(deftemplate room (slot air (type heat)))
(deffacts rooms
  (room (air 90)) (room (air -1)) (room (air 0)) (room (air 40)) (room (air cold limited-to 0.5)))
(defrule shapes
  =>
  (bind ?x 3)
  (tri ?x 2 5) (s 3 1) (pi 5 -2) (beta 5 2 0) (tri 3 3 3) (pi 1 2 3) (beta 5 2 1)
  (assert (room (air (+ ?x 50)))))
; expect: warning: the arguments of (z 20 10) are not in order
; expect: warning: the term far is highest outside of the range, 0.0000 to 40.0000
; expect: warning: the term part is highest outside of the range, 0.0000 to 40.0000
; expect: warning: the arguments of (range 10 0) are not in order
; expect: warning: 90 is outside of the range of heat, 0.0000 to 40.0000
; expect: warning: -1 is outside of the range of heat, 0.0000 to 40.0000
; expect: warning: the arguments of (tri 2.0000 3.0000 5.0000) are not in order
; expect: warning: the arguments of (s 3 1) are not in order
; expect: warning: the arguments of (pi 5 -2) are not in order
; expect: warning: the arguments of (beta 5 2 0) are not in order
; expect: warning: 53 is outside of the range of heat, 0.0000 to 40.0000
