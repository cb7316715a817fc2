; option: literal
; A whole number in a slot of floats becomes a float, a float in a slot of integers is cut.
(deftemplate point (slot x (type FLOAT)) (slot n (type INTEGER)) (slot m (allowed-integers 1.5)))
(assert (point (x 3) (n 2.9) (m 1)))
(get-slot-value 1 x)
(get-slot-value 1 n)
; expect: <Fact-1>
; expect: 3.0000
; expect: 2
