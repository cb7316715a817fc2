; The left fact of an exists that found nothing goes: no activation comes up for it.
(defrule one (a ?x) (exists (b ?x)) =>)
(defrule two (a ?x) (not (not (not (not (b ?x))))) =>)
(watch activations) ; expect: TRUE
(assert (a 1))      ; expect: <Fact-1>
(assert (b 1))      ; expect: ==> Activation: 0 one : f-1, f--1 (1.0000)
; expect: ==> Activation: 0 two : f-1, f--1 (1.0000)
; expect: <Fact-2>
(retract 2)         ; expect: <== Activation: one : f-1, f--1
; expect: <== Activation: two : f-1, f--1
; expect: TRUE
(retract 1)         ; expect: TRUE
(unwatch activations) ; expect: TRUE
