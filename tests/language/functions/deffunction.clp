; Recursion, a rest parameter, return out of a loop, locals that do not leak.
(deffunction factorial "of a whole number" (?n)
  (if (<= ?n 1) then 1 else (* ?n (factorial (- ?n 1)))))
(factorial 10)                  ; expect: 3628800
(factorial 13)                  ; expect: 6227020800.0000
(deffunction count (?first $?rest) (length$ ?rest))
(count a)                       ; expect: 0
(count a b c)                   ; expect: 2
(deffunction next-above (?x ?limit)
  (while TRUE do
    (bind ?x (+ ?x 1))
    (if (> ?x ?limit) then (return ?x))))
(next-above 1 5)                ; expect: 6
(deffunction answer () 41 42)
(answer)                        ; expect: 42
(bind ?x outside)               ; expect: outside
(next-above 1 2)                ; expect: 3
?x                              ; expect: outside
(count)
; expect error: Too few arguments for count
