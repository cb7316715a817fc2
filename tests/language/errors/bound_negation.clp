; expect error: Parsing Error, "not" and "test" CEs cannot be bound to variables in ParseRulePatterns at line 2:  ( defrule r ?x <- ( not ( a ) ) 
(defrule r ?x <- (not (a)) => )
