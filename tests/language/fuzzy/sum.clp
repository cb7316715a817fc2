; Additive inference: what comes together is the sum divided by its height, whatever comes first.
; Here 0.5, 1 and 1 come together on the left, 1 on the right, and all of them, 3.5, in the middle:
; at 0 it is 2.5 / 3.5, at 10 1 / 3.5.
(deftype level extends (type FUZZY)
  (range 0 10)
  (values (term l ((0 1) (5 1) (5 0))) (term r ((5 0) (5 1) (10 1)))))
(deftemplate out (slot of) (slot v (type level)))
(deffunction add (?name $?values)
  (bind ?id FALSE)
  (foreach value ?values
    (bind ?id (assert (out (of ?name) (v ?value)))))
  (printout t ?name " " (get-fs-value ?id 0) " " (get-fs-value ?id 10) crlf)
  (return ?id))
(defrule orders
  =>
  (set-fuzzy-inference sum)
  (bind ?half (create-fuzzy-value level l scaled-by 0.5))
  (bind ?l (create-fuzzy-value level l))
  (bind ?r (create-fuzzy-value level r))
  (add first ?half ?l ?l ?r)
  (add second ?l ?l ?r ?half)
  (bind ?third (add third ?r ?half ?l ?l))
  (printout t (get-slot-value ?third v) crlf)
  ; Modified and saved it is the same sum; another operation takes what the points show.
  (bind ?fourth (assert (out (of fourth) (v (get-slot-value (modify ?third (of saved)) v)))))
  (printout t (get-fs-value (assert (out (of fourth) (v ?r))) 10) crlf)
  (set-fuzzy-inference min-max)
  (bind ?again (assert (out (of fourth) (v ?r))))
  (set-fuzzy-inference sum)
  (printout t (get-fs-value (assert (out (of fourth) (v ?l))) 0) crlf)
  (printout t (get-fs-value (fuzzy-union-x sum ?l ?l ?r) 10) crlf))
; expect: first 0.7143 0.2857
; expect: second 0.7143 0.2857
; expect: third 0.7143 0.2857
; expect: ((0.0000 0.7143) (5.0000 0.7143) (5.0000 1.0000) (5.0000 0.2857) (10.0000 0.2857) ) summed-to 3.5000
; expect: 0.4444
; expect: 0.7778
; expect: 0.3333
