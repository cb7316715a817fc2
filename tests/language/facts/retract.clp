; Facts go by id, by text, or all together; an id without a fact is no failure.
(assert (a 1) (b "x") (c))      ; expect: <Fact-3>
(retract 2 99)                  ; expect: TRUE
(retract-string "(a 1)")        ; expect: TRUE
(facts)
; expect: f-0 (Initial-Fact)
; expect: f-3 (c)
; expect: For a total of 2 facts.
; expect: TRUE
(retract *)                     ; expect: TRUE
(facts)
; expect: For a total of 0 facts.
; expect: TRUE
; Ids are not used again.
(assert (d))                    ; expect: <Fact-4>
