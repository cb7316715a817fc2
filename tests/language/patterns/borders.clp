; Matches at the borders of what patterns can say; each line is a program.
; Several variables in one field.
; One span, compared with the one before.
(defrule r (n $?y) (a $?x&~$?y) => (printout t ?x)) (assert (n 1 2) (a 1 2) (a 2 1))  ; fires: (2 1 )
(defrule r (a x $?y y $?x&~$?y) => (printout t ?x)) (assert (a x 1 y 1) (a x 1 y 2))  ; fires: (2 )
; A field in which a span stands among alternatives is a span.
(defrule r (o $?m&:(> (length$ ?m) 1)|:(= (length$ ?m) 0)) => (printout t ?m))(assert (o 1) (o 1 2))  ; fires: (1 2 )
(defrule r (n $?y) (a x $?m&:(eq ?m ?y)|:(= (length$ ?m) 0)) => (printout t ?m))(assert (n 1 2) (a x 1) (a x 1 2))  ; fires: (1 2 )
(defrule r (n $?y) (a x 8|9&$?m|$?y) => (printout t y)) (assert (n 1 2) (a x 1) (a x 1 2))  ; fires: y
; A single one that stands in front of a bar is the field's own only where it is bound there.
(defrule r (a ?x) (b ?x|3) => (printout t b)) (assert (a 1) (b 1) (b 2) (b 3))  ; fires: bb
(defrule r (a ?x) (b ~?x|3) => (printout t b)) (assert (a 3) (b 1) (b 3))  ; fires: bb
(defrule r (a ?x) (b ~?x&~3|4&?y) => (printout t ?y)) (assert (a 1) (b 5) (b 3))  ; fires: 5
; With an & behind it, it stands before the alternatives wherever it is bound.
(defrule r (a ?x) (b ?x&1|2) => (printout t ?x)) (assert (a 1) (a 3) (b 1) (b 2) (b 3))  ; fires: 1
(defrule r (a ?x ?x&1|2) => (printout t ?x)) (assert (a 1 1) (a 1 2) (a 3 3))  ; fires: 1
; One that is bound among alternatives is compared wherever else it stands.
(defrule r (a b|?x ?x) => (printout t ?x)) (assert (a 1 2) (a 3 3) (a b b))  ; fires: b3
; A predicate among alternatives holds unless it is FALSE, as one that stands alone does.
(defrule r (a ?x&1|:(create$ ?x)) => (printout t ?x)) (assert (a 1) (a 2))  ; fires: 21
; Equal joins are shared, joins that only begin alike are not.
(defrule one (a ?x ?y) (b ?x&?x) => (printout t one))(defrule two (a ?x ?y) (b ?x&?y) => (printout t two)) (assert (a 1 2) (b 1))  ; fires: one
(defrule one (a ?x ?y) (b ~?x&~?x) => (printout t one))(defrule two (a ?x ?y) (b ~?x&~?y) => (printout t two)) (assert (a 1 2) (b 2))  ; fires: one
(defrule two (a ?x ?y) (b ?x&?y) => (printout t two))(defrule one (a ?x ?y) (b ?x&?x) => (printout t one)) (assert (a 1 2) (b 1))  ; fires: one
; Negated patterns of many fields.
(defrule r (go) (not (a ? ? ?x&:(> ?x 1))) => (printout t free)) (assert (go) (a 1 2 3))  ; fires: 
(defrule r (go) (not (a ?x ?x)) => (printout t free)) (assert (go) (a 1 2))  ; fires: free
(defrule r (go) (not (a ?x ?x)) => (printout t free)) (assert (go) (a 2 2))  ; fires: 
(defrule r (go) (not (a ?x&b|c)) => (printout t free)) (assert (go) (a c))  ; fires: 
(defrule r (go ?v) (not (a ?x&~?v|=(+ ?v 1))) => (printout t free)) (assert (go 3) (a 3))  ; fires: free
(defrule r (go $? ?x $?) (not (a $? ?x $?)) => (printout t ?x))(assert (go 1 2 3) (a 2 3))  ; fires: 1
; What a negated pattern bound is bound anew behind it.
(defrule r (go) (not (b ?x)) (not (a ?x|1)) => (printout t free)) (assert (go) (a 2))  ; fires: free
(defrule r (not (a ?x)) (b ?x) => (printout t ?x)) (reset) (assert (b 3))  ; fires: 3
; A join that takes one partner alone is not shared with one that takes all, nor the other way.
(defrule all (a) (b ?) => (printout t all)) (defrule one (a) (unique (b ?)) => (printout t one)) (assert (a) (b 1) (b 2))  ; fires: alloneall
(defrule one (a) (unique (b ?)) => (printout t one)) (defrule all (a) (b ?) => (printout t all)) (assert (a) (b 1) (b 2))  ; fires: allallone
; Without a pattern before it, it takes one fact all the same.
(defrule one (unique (b ?x)) => (printout t ?x)) (reset) (assert (b 1) (b 2))  ; fires: 1
; Variables of one pattern are compared wherever they stand.
(deftemplate p (slot x) (slot y)) (defrule r (p (x ?v) (y ?v)) => (printout t ?v)) (assert (p (x 1) (y 1)) (p (x 1) (y 2)))  ; fires: 1
(deftemplate p (slot x) (slot y)) (defrule r (p (x ?v) (y ~?v)) => (printout t ?v)) (assert (p (x 1) (y 1)) (p (x 3) (y 2)))  ; fires: 3
(deftemplate p (slot x) (slot y)) (defrule r (p (x ~?v) (y ?v)) => (printout t ?v)) (assert (p (x 1) (y 1)) (p (x 3) (y 2)))  ; fires: 2
(deftemplate p (multislot l)) (defrule r (p (l ?v ?v)) => (printout t ?v)) (assert (p (l a a)) (p (l a b)))  ; fires: a
; A disjunction binds less tightly than a conjunction.
(defrule r ?f <- (c a|b&~c|d) => (printout t ?f)) (assert (c a) (c b) (c c) (c d))  ; fires: <Fact-4><Fact-2><Fact-1>
(defrule r (c ?v&a|b) => (printout t ?v)) (assert (c a) (c b) (c c) (c d))  ; fires: ba
; Tests and globals take part.
(defglobal ?*limit* = 2) (defrule t (a ?x) (test (> ?x ?*limit*)) (b ?y) => (printout t ?x ?y)) (assert (a 1) (a 2) (a 3) (b z))  ; fires: 3z
(defglobal ?*limit* = 2) (defrule g (a ?*limit*) => (printout t g)) (assert (a 1) (a 2) (a 3))  ; fires: g
; A fact that is bound to a variable is compared by its id.
(defrule r ?f <- (thing ?n) (owner ?f ?w) => (printout t ?w ?n)) (defrule s ?f <- (thing ?n) => (assert (owner ?f bob))) (assert (thing cup) (thing pot) (owner 3 nobody))  ; fires: bobpotbobcup
; A goal is worked off and completes the match; what is there is not made again.
(do-backward-chaining b) (defrule r (a ?x) (b ?x ?y) => (printout t ?x ?y)) (defrule s (need-b ?x ?) => (printout t made) (assert (b ?x new))) (assert (a 1))  ; fires: made1new
(do-backward-chaining b) (defrule r (a ?x) (b ?x ?y) => (printout t ?x ?y)) (defrule s (need-b ?x ?) => (printout t made)) (assert (b 2 found) (a 2))  ; fires: 2found
