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
; Formals hide globals and callers inside the function only, and each call has a frame of its own.
(defglobal ?*g* = 1)
(bind ?x outer)  ; expect: outer
(deffunction f (?x) (bind ?x (+ ?x 1)) ?x)
(deffunction g () (bind ?*g* 5) (bind ?local 7) ?*g*)
(f 1) (create$ ?x) (g) (create$ ?*g*)  ; values: 2, outer, 5, 5
(create$ ?local)  ; error: local
(deffunction factorial (?n)
  (bind ?before ?n)
  (bind ?rest (if (<= ?n 1) then 1 else (factorial (- ?n 1))))
  (if (neq ?before ?n) then broken else (* ?n ?rest)))
(deffunction down (?n) (if (= ?n 0) then 0 else (+ 1 (down (- ?n 1)))))
(deffunction forever (?n) (forever (+ ?n 1)))
(factorial 6) (down 100)  ; values: 720, 100
(forever 0)  ; error: Nested too deeply
(down 10)  ; expect: 10
; A failure leaves the caller's frame as it was.
(deffunction bad (?x) (bind ?x 2) (sqrt no))
(deffunction caller (?x) (try (bad 1) except 0) ?x)
(bad 1)  ; error: Not a numeric type
(caller 5)  ; expect: 5
; Slots are evaluated in the order of their names.
(deftemplate t (slot c) (slot a) (slot B))
(deffunction say (?x) (printout t ?x " ") ?x)
(assert (t (c (say 3)) (B (say 2)) (a (say 1))))  ; values: 1 2 3 <Fact-1>
; An argument is evaluated once, where the call stands.
(deffunction all (?x $?rest) (create$ ?x $?rest))
(defglobal ?*n* = 0)
(all (bind ?*n* (+ ?*n* 1)) 5 6) (+ ?*n* 0)  ; values: 1 5 6, 1
(all)  ; error: Too few arguments for $
