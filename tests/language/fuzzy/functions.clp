; The functions of the fuzzy package.
(deftype heat extends (type FUZZY) (range 0 10) (units C)
  (values (term cold ((0 1) (10 0))) (term hot ((0 0) (10 1)))))
(deftype wet extends (type FUZZY) (range 0 1))
(deftemplate room (slot name) (slot heat (type heat)))
(bind ?f (assert (room (name a) (heat hot))))  ; expect: <Fact-1>
(bind ?p (get-fs ?f))  ; expect: ((0.0000 0.0000) (10.0000 1.0000) )
; Shapes are made and read.
(tri 1 2 3) (tri 1 2 (+ 1 2))  ; values: (tri 1 2 3), (tri 1.0000 2.0000 3.0000)
(beta 100 20)  ; expect: (beta 100 20)
(get-fs (tri 3 2 1))
; expect: warning: the arguments of (tri 3 2 1) are not in order
; expect: ((1.0000 0.0000) (2.0000 1.0000) (3.0000 0.0000) )
(get-fs-length (s 0 6)) (get-fs-length (pi 0 6)) (get-fs-x (pi 1 2 4) 6)  ; values: 7, 13, 2.0000
(get-fs-y (z 0 6) 3) (get-fs-value (s 0 10) 5)  ; values: 0.5000, 0.5000
(get-fs-value (beta 100 20) 110) (get-fs-value (beta 100 12 6) 106)  ; values: 0.5000, 0.5000
(get-fs-value (beta 100 20 20 4) 110) (get-fs-value ((0 0) (2 1)) 1)  ; values: 0.5000, 0.5000
(get-fs-length ?p) (get-fs-variable ?f) (get-fs-variable (tri 1 2 3))  ; values: 2, heat
; The fact of that id.
(get-fs-length 1)  ; expect: 2
(fuzzyp (tri 1 2 3)) (integerp (get-fs-length ?f))  ; values: TRUE, TRUE
(get-fs-length 99)  ; error: No Such Fact with ID=99 exists
(get-fs-length 0)  ; error: Fact is not a fuzzy fact
(get-fs-length hot)  ; error: Not a fuzzy value type
(get-fs-x (tri 1 2 3) 3)  ; error: Bad Argument: 3
(get-fs-y (tri 1 2 3) -1)  ; error: Bad Argument: -1
; Values are made and combined.
(create-fuzzy-value heat hot)  ; expect: hot
(create-fuzzy-value heat very hot or cold)  ; expect: very hot or cold
(create-fuzzy-value heat not [ cold or hot ])  ; expect: not [cold or hot]
(create-fuzzy-value (get-slot-value ?f heat) cold)  ; expect: cold
; From left to right, whatever the joints are.
(get-fs-value (create-fuzzy-value heat cold or cold and hot) 2)  ; expect: 0.2000
(create-fuzzy-value nil (tri 1 2 3))  ; expect: (tri 1 2 3)
(get-fs-variable (create-fuzzy-value heat (tri 1 2 3)))  ; expect: heat
(get-fs-value (fuzzy-union (tri 0 1 2) (tri 1 2 3) ?f) 9)  ; expect: 0.9000
(get-fs-value (fuzzy-intersection (tri 0 1 2) (tri 1 2 3)) 1.5)  ; expect: 0.5000
(get-fs-value (fuzzy-union-x bounded-sum (tri 0 1 2) (tri 0 1 2)) 0.25)  ; expect: 0.5000
(get-fs-value (fuzzy-intersection-x product (tri 0 1 2) (tri 0 1 2)) 0.5)  ; expect: 0.2500
(get-fs-value (fuzzy-union-x sum ?p ?p ?p) 10)  ; expect: 1.0000
(create-fuzzy-value nothing hot)  ; error: fuzzy variable is not defined
(create-fuzzy-value heat tepid)  ; error: Invalid item in fuzzy expression: tepid
(fuzzy-union-x nonsense ?f ?f)  ; error: Invalid Fuzzy operation specified (nonsense) for $, expected zadeh, mean, mean-sqr, mean-sqrt, product, bounded-sum, or sum
(get-slot-value ?f heat)  ; expect: hot
; Numbers come out of fuzzy values.
(moment-defuzzify (tri 0 3 6)) (moment-defuzzify ?f)  ; values: 3.0000, 6.6667
(maximum-defuzzify ?f) (maximum-defuzzify ((0 1) (4 1) (6 0)))  ; values: 10.0000, 2.0000
(get-compatibility-index (tri 0 3 6)) (is-undecidable (tri 0 3 6))  ; values: 1.0000, TRUE
(bind ?t (tri 0 3 6)) (moment-defuzzify ?t)  ; values: (tri 0 3 6), 3.0000
(is-undecidable ?t) (moment-defuzzify (create-fuzzy-value heat nil))  ; values: FALSE, 5.0000
; Facts are asserted with a method of their own.
(set-fuzzy-inference product)  ; expect: min-max
(bind ?f (fuzzy-assert bounded-sum (room (name a) (heat cold))))  ; expect: <Fact-2>
(get-fs-value ?f 5)  ; expect: 1.0000
(bind ?f (fuzzy-assert-unconditional (room (name a) (heat cold))))  ; expect: <Fact-3>
(get-fs-value ?f 5)  ; expect: 0.5000
(bind ?f (fuzzy-assert-unconditional product (room (name a) (heat cold))))  ; expect: <Fact-4>
(get-fs-value ?f 5) (fuzzy-assert sum (crisp a))  ; values: 0.2500, <Fact-5>
(fuzzy-assert sum (crisp a)) (get-fuzzy-inference)  ; values: FALSE, product
(fuzzy-assert 5 (crisp b))  ; error: Invalid Fuzzy Inference specified (5), expected min-max, sum, mean, product, or bounded-sum
(fuzzy-assert most (crisp b))  ; error: Invalid Fuzzy Inference specified (most)
(fuzzy-assert-unconditional 5)  ; error: Not a fact type
; Settings give what they have been.
(set-fuzzy-threshold 3) (get-fuzzy-threshold)  ; values: 0.0100, 1.0000
(set-activation-threshold 0.25) (get-activation-threshold)  ; values: 0.0000, 0.2500
(set-fuzzy-auto-terms 1) (get-fuzzy-auto-terms)  ; values: TRUE, FALSE
(set-fuzzy-auto-terms TRUE) (set-fuzzy-correlation product)  ; values: FALSE, minimum
(get-fuzzy-correlation) (set-fuzzy-inference mean)  ; values: product, product
(get-u heat) (get-u-from "heat")  ; values: "0.0000 - 10.0000 C", 0.0000
(get-u-to (get-slot-value ?f heat)) (get-u-units heat)  ; values: 10.0000, "C"
(get-u-units wet)  ; expect: ""
(set-fuzzy-correlation most)  ; error: Invalid Fuzzy Correlation specified (most), expected minimum or product
(set-fuzzy-inference most)  ; error: Invalid Fuzzy Inference specified (most), expected
(get-fuzzy-correlation) (get-fuzzy-inference)  ; values: product, mean
(get-u 5)  ; error: Invalid argument type for deffunction: "dtInteger".  Expected Atom, String, Fuzzy
(get-u ?f)  ; error: Invalid argument type for deffunction: "dtFactId"
(get-u nothing) (get-u (tri 1 2 3))  ; error: fuzzy variable is not defined
