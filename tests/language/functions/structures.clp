; What structures answer, and in which order their parts run.
; If runs one part.
(if nil then 1) (if TRUE then)  ; values: 1, FALSE
; Right behind `then` the word is a statement.
(if FALSE then else 2) (if TRUE then 1 (sym-cat else) 2)  ; values: FALSE, 1
(if TRUE 1)  ; error: Syntax Error: Missing "then" in an IF statement
; Loops.
(deffunction count (?n) (bind ?i 0) (while (< ?i ?n) do (bind ?i (+ ?i 1))) ?i)
(deffunction no-do (?n) (bind ?i 0) (while (< ?i ?n) (bind ?i (+ ?i 1))) ?i)
(deffunction find (?wanted $?all)
  (foreach item $?all (if (eq ?item ?wanted) then (return found)) missing))
(deffunction up-to (?n)
  (bind ?i 0)
  (while TRUE do (if (= ?i ?n) then (return ?i) (bind ?i -1)) (bind ?i (+ ?i 1))))
(count 3) (no-do 3) (foreach i (create$ a b) (str-cat ?i "!"))  ; values: 3, 3, "b!"
(find b a b c) (find z a b c) (find z)  ; values: found, missing
; What stands behind the `return` is not run in any of the structures around it.
(up-to 4)  ; expect: 4
; Try catches what fails and keeps the message.
(try (throw "x") except caught)  ; expect: caught
(try (div 1 0) catch ?__ERROR)  ; expect: "Division by zero in div function call"
(try (throw "x") finally 1 catch 2)  ; expect: 2
(try (throw "x") finally (throw "y") catch ?__ERROR)  ; expect: "y"
; In front of `finally` the word is a statement.
(try catch (sym-cat a b) finally)  ; expect: ab
(try 1 2)  ; error: Missing catch or finally statement for $ block
(try (throw "x") catch (throw "again"))  ; error: again
(throw "x")  ; error: x
; The finally part runs on every way out.
(deffunction early ()
  (try (return 1) 2 finally (printout t a) (printout t b))
  (printout t never))
(deffunction instead () (try (return 1) finally (return 2) (printout t never)))
(deffunction loud () (try (throw "x") finally (printout t a) (printout t b)) 3)
(early) (instead) (loud)  ; values: ab1, 2, ab3
; Nothing is evaluated behind the decision.
(and FALSE (no-such-function)) (or TRUE (no-such-function))  ; values: FALSE, TRUE
(eq 1 2 (no-such-function)) (neq 1 1 (no-such-function))  ; values: FALSE, FALSE
(= 1 2 (no-such-function)) (< 2 1 (no-such-function))  ; values: FALSE, FALSE
(member a a (no-such-function)) (member a b c)  ; values: 0, FALSE
; Order is a chain.
(> 3 1 2) (> 2 2) (>= 3 3 1) (>= 3 1 2) (< 1 1.5 2)  ; values: FALSE, FALSE, TRUE, FALSE, TRUE
(< 1 1) (<= 1 3 2)  ; values: FALSE, FALSE
(> a 1)  ; error: Value (a) is a dtAtom type
