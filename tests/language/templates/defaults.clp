; A slot without a default takes one that its type allows; a slot that allows words stays nil and
; is not printed.
(deftemplate order
  (slot name)
  (slot pieces (default 1))
  (slot price (default (+ 2 0.5)))
  (slot count (type INTEGER))
  (slot note (type STRING))
  (slot colour (allowed-symbols red blue))
  (multislot tags (default new urgent))
  (multislot empty))
(assert (order))
(facts)
; expect: <Fact-1>
; expect: f-0 (Initial-Fact)
; expect: f-1 (order (colour red) (count 0) (note "") (pieces 1) (price 2.5000) (tags new urgent ))
; expect: For a total of 2 facts.
; expect: TRUE
