; Of two terms of one name the later one counts; one that is inherited may be replaced.
(deftype heat extends (type FUZZY)
  (range 0 40)
  (values
    (term cold ((0 1) (10 0)))
    (term cold ((0 0.5) (10 0)))))
(deftype warmth extends (type heat) (values (term cold ((0 0.25) (10 0)))))
(defrule show
  =>
  (printout t (get-fs-value (create-fuzzy-value heat cold) 0) crlf))
; expect: warning: the term cold is defined twice, the later one counts
; expect: 0.5000
