; Every value but FALSE is true; if answers the last statement that ran.
(if nil then yes else no)                ; expect: yes
(if FALSE then 1 else 2 3)               ; expect: 3
(if FALSE then 1)                        ; expect: FALSE
(bind ?i 0)                              ; expect: 0
(while (< ?i 3) do (printout t ?i " ") (bind ?i (+ ?i 1)))  ; expect: 0 1 2 FALSE
(foreach x (create$ a b) (printout t ?x ";") ?x)  ; expect: a;b;b
(foreach ?x (create$ a b) (printout t ?x ";") ?x)  ; expect: a;b;b
(foreach x (create$) (printout t never))
(and 1 a)                                ; expect: TRUE
(or 1 a)                                 ; expect: TRUE
(and FALSE (no-such-function))           ; expect: FALSE
