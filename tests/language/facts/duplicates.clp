; An equal fact is refused; set-fact-duplication FALSE lets it in, but for the one that starts rules.
(assert (a 1))                ; expect: <Fact-1>
(assert (a 1))                ; expect: FALSE
(assert (a 1.0))              ; expect: <Fact-2>
(assert-string "(a 1)")       ; expect: <Fact--1>
(set-fact-duplication FALSE)  ; expect: TRUE
(assert (a 1))                ; expect: <Fact-3>
(assert (Initial-Fact))       ; expect: FALSE
(facts)
; expect: f-0 (Initial-Fact)
; expect: f-1 (a 1 )
; expect: f-2 (a 1.0000 )
; expect: f-3 (a 1 )
; expect: For a total of 4 facts.
; expect: TRUE
