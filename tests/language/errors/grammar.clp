; The message of each failure of the grammar, and the operation that raised it.
(deftemplate person (slot age (type INTEGER)) (multislot names (type STRING)))
(deftemplate flat (slot x (type FLOAT)))
(deftype t1 extends (type INTEGER))
(deftype t2 extends (type ATOM))
)  ; error: Unexpected symbol, expected a "(", constant, or global variable: ) in GetConstructType at line
(1)  ; error: Missing name in ParseFunCall at line
(modify ?f (x))  ; error: Expected value missing in ParseValuePair at line
(modify ?f (1 2))  ; error: Expected "( <atom>" in ParseValuePair at line
(modify ?f (x &))  ; error: Bad Argument: & in ParseValue at line
(f ((1 a)))  ; error: Expected number, variable, or function call in ParseFuzzyPoints at line
(assert ((1 2)))  ; error: Expected "( <atom>" in ParseFact at line
(assert (person (size 1)))  ; error: No such slot name: "size"
(assert (person (age)))  ; error: Bad Slot Value: ) in ParseValue at line
(assert (person (age =3)))  ; error: "=" cannot appear as an atom within a fact in ParseValue at line
(assert (person (names a)))  ; error: Not a STRING, LIST, MULTISLOT type.  Value (a ) is a dtAtom (a) type for names slot in ParseValue(Fact Slot) at line
(deftemplate)  ; error: Missing name in ParseFactTemplate at line
(deftemplate a b)  ; error: Expected "(", "extends", or "is-a" in ParseFactTemplate at line
(deftemplate a is-a nobody)  ; error: type name unknown or invalid: nobody in ParseFactTemplate at line
(deftemplate a is-a t1 (slot x))  ; error: Expected ")" in ParseFactTemplate at line
(deftemplate a (slot x (frob 1)))  ; error: Invalid slot qualifier: frob in ParseFactTemplateSlot at line
(deftemplate a (slot x (type integer)))  ; error: Invalid slot type: integer in ParseSlotTypes at line
(deftemplate a (slot x (type FUZZY INTEGER)))  ; error: Cannot mix fuzzy type with other primitive types in ParseSlotTypes at line
(deftemplate a (slot x (type t1 t2)))  ; error: Multiple inheritance is not allowed for deftypes in ParseSlotTypes at line
(deftemplate a (slot x (range 1)))  ; error: Expected integer, variable, or function call for range in ParseDefinedType at line
(deftemplate a (slot x (allowed-things a)))  ; error: Expected allowed value argument for deftype, received allowed-things in ParseDefinedType at line
(deftemplate a (slot x (allowed-values a  ; error: Expected ")" in ParseDefinedType at line
(deftemplate a (slot x (default b) (type INTEGER)))  ; error: Not a INTEGER type.  Value (b) is a dtAtom type for x slot in ParseFactTemplateSlot at line
(deffacts)  ; error: Missing name in ParseFactSet at line
(deffunction f x)  ; error: Expected "(" in ParseFunction at line
(deffunction f (?x) & )  ; error: Unexpected character found: "&" in ParseFunction at line
(deffunction f (?x) 1  ; error: Unexpected end of stream in ParseFunction at line
(defglobal ?a = 1)  ; error: Bad Variable Name, must start and end with an asterisk: a in ParseVariable at line
(defglobal ?*a* 1)  ; error: Expected "=" in ParseVariable at line
(defglobal  ; error: Missing name in ParseVariable at line
(defglobal ?*a* = )  ; error: Expected value missing in ParseVariable at line
(deftype t (type INTEGER))  ; error: Missing keyword.  Expected "extends" in ParseDefinedType at line
(defrule r => 1)  ; error: Expected ")" in ParseRule at line
(defrule r (declare (salience a)) =>)  ; error: Expected integer, variable, or function call for salience in ParseRule at line
(defrule r $?x <- (a) =>)  ; error: Expected "=>" in ParseRule at line
(defrule r ?x (a) =>)  ; error: Expected "<-" in ParseRulePatterns at line
(defrule r ?x <- (test (f)) =>)  ; error: "not" and "test" CEs cannot be bound to variables in ParseRulePatterns at line
(defrule r (not (a) (b)) =>)  ; error: Expected ")" in ParsePattern at line
(defrule r (not a) =>)  ; error: Expected "( <atom>" in ParsePattern at line
(defrule r (flat (x $?x)) =>)  ; error: Slot "x" is not a multislot in ParsePattern at line
(defrule r (flat (x 1 2)) =>)  ; error: Slot "x" is not a multislot in ParsePattern at line
(defrule r (a ~(f)) =>)  ; error: Bad Slot Value: ( in ParsePattern at line
(defrule r (a b&) =>)  ; error: Bad Slot Value: ) in ParsePattern at line
(deftemplate t (slot x (range 1 0)))  ; error: The range from 1 to 0 is empty in ParseDefinedType at line
(deftype t extends (type NUMBER) (range 0.5 (+ 0 0)))  ; error: The range from 0.5000 to 0 is empty in ParseDefinedType
(deftemplate t (multislot x (cardinality 3 1)))  ; error: The cardinality from 3 to 1 is empty in ParseDefinedType
(defrule r (person 1) =>)  ; error: Bad Slot Name: 1 in ParsePattern at line
(defrule r (test (= ?x 1)) (flat (x ?x)) =>)  ; error: Unknown variable name: x
