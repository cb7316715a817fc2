; modify takes the fact out and brings it back under a new id; duplicate leaves it alone.
(deftemplate p (slot x) (slot y (default 0)) (multislot z))
(assert (p (x 1) (z a b)))         ; expect: <Fact-1>
(modify 1 (x 2) (z (create$ c d) e))  ; expect: <Fact-2>
(get-slot-value 2 x)               ; expect: 2
(get-slot-value 2 y)               ; expect: 0
(duplicate 2 (y 5))                ; expect: <Fact-3>
(duplicate 2 (y 5))                ; expect: <Fact--1>
(get-slot-value 2 y)               ; expect: 0
(get-slot-value 3 x)               ; expect: 2
(modify 1 (x 3))
; expect error: No Such Fact with ID=1 exists
