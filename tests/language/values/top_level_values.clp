; A value at top level shows itself; nil and the value of printout do not.
3          ; expect: 3
3.5        ; expect: 3.5000
-7         ; expect: -7
1e3        ; expect: 1000.0000
12abc      ; expect: 12abc
TRUE       ; expect: TRUE
nil
(printout t)
(+ 1 2)    ; expect: 3
(+ 1 2.0)  ; expect: 3.0000
(str-cat a "b c" 1)  ; expect: "ab c1"
(sym-cat a 1)  ; expect: a1
