; Whole numbers have 32 bits; what does not fit becomes a float.
2147483647        ; expect: 2147483647
2147483648        ; expect: 2147483648.0000
-2147483648       ; expect: -2147483648
(* 1.0 3)         ; expect: 3.0000
(/ 1 2)           ; expect: 0.5000
(div 7 2)         ; expect: 3
