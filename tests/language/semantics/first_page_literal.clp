; option: literal
(deffunction gcd (?a ?b) (if (= ?b 0) then ?a else (gcd ?b (mod ?a ?b))))
(gcd 12 18)                              ; expect: 18
(deffunction fibonacci (?n ?a ?b) (if (= ?n 0) then ?a else (fibonacci (- ?n 1) ?b (+ ?a ?b))))
(fibonacci 10 0 1)                       ; expect: 512
(or (member x a b) (member b a b))  ; expect: FALSE
(deffacts family (person ann) (person bob) (person cid) (parent ann bob) (parent bob cid))
(defrule is-parent (person ?who) (exists (parent ?who ?)) => (printout t ?who " has a child" crlf))
