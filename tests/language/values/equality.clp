; eq looks at type and value, = at the number, eq* at the value whatever the type.
(eq 1 1.0)        ; expect: FALSE
(= 1 1.0)         ; expect: TRUE
(eq* 1 1.0)       ; expect: TRUE
(eq a "a")        ; expect: FALSE
(eq* a "a")       ; expect: TRUE
(eq* 1 1.5)       ; expect: FALSE
(eq* 1 "1" "1.0") ; expect: TRUE
(eq* "1.5" 1.5)   ; expect: TRUE
(eq* 1 x)         ; expect: FALSE
(eq* x 1)         ; expect: FALSE
(eq* nil 0)       ; expect: FALSE
(eq* 0 nil)       ; expect: FALSE
(eq* (create$ 1) 1) ; expect: FALSE
(eq* 1 (create$ 1)) ; expect: FALSE
(eq* (create$ 1 a) (create$ 1 a)) ; expect: TRUE
(eq* (create$ 1 "2") (create$ 1.0 2)) ; expect: TRUE
(eq* (create$ 1 2) (create$ 1)) ; expect: FALSE
(eq a a a)        ; expect: TRUE
(neq a b c)       ; expect: TRUE
(neq a b a)       ; expect: FALSE
(eq (create$ a b) (create$ a b))  ; expect: TRUE
(> 3 2 1)         ; expect: TRUE
(> 3 2 2)         ; expect: FALSE
(>= 3 2 2)        ; expect: TRUE
