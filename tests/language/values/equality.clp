; eq looks at type and value, = at the number, eq* at the value after conversion.
(eq 1 1.0)        ; expect: FALSE
(= 1 1.0)         ; expect: TRUE
(eq* 1 1.0)       ; expect: TRUE
(eq a "a")        ; expect: FALSE
(eq* a "a")       ; expect: TRUE
(eq a a a)        ; expect: TRUE
(neq a b c)       ; expect: TRUE
(neq a b a)       ; expect: FALSE
(eq (create$ a b) (create$ a b))  ; expect: TRUE
(> 3 2 1)         ; expect: TRUE
(> 3 2 2)         ; expect: FALSE
(>= 3 2 2)        ; expect: TRUE
