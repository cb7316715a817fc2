; reset drops what was asserted, counts from 0 and asserts the fact sets.
(deffacts first (a 1) (b 2))
(deffacts second "comment" (c 3))
(assert (gone))                 ; expect: <Fact-1>
(reset)                         ; expect: TRUE
(facts)
; expect: f-0 (Initial-Fact)
; expect: f-1 (a 1 )
; expect: f-2 (b 2 )
; expect: f-3 (c 3 )
; expect: For a total of 4 facts.
; expect: TRUE
