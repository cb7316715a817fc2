; A threshold counts for the comparisons that come after it.
(deftype heat extends (type FUZZY) (range 0 40) (values (term cold ((0 1) (10 0)))))
(deftemplate room (slot name) (slot air (type heat)))
(defrule cold (room (name ?name) (air cold)) => (printout t ?name crlf))
(assert (room (name before) (air 5)))   ; expect: <Fact-1>
(set-fuzzy-threshold 0.8)               ; expect: 0.0100
(assert (room (name after) (air 5)))    ; expect: <Fact-2>
(run)                                   ; expect: before
; expect: 1
(deffacts rooms (room (name chilly) (air 5)) (room (name icy) (air 0)))
; expect: icy
