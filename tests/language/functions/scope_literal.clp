; option: literal
; In the literal meaning a called function sees the variables of its caller.
(defglobal ?*total* = 1)
(deffunction reads-x () (+ ?x 1))
(deffunction calls (?x) (reads-x))
(calls 5)                       ; expect: 6
(deffunction binds () (bind ?*total* (+ ?*total* 1)))
(deffunction hides (?*total*) (binds))
(hides 40)                      ; expect: 41
?*total*                        ; expect: 1
(reads-x)
; expect error: Corrupted Binding, variable not found: x
