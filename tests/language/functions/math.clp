; The arithmetic functions: kinds of numbers, borders and what is refused.
; Integers until a float takes part.
(+) (*) (+ 0.5 0.5) (- 5) (+ "1" 2)  ; values: 0, 1, 1.0000, 5, 3
; Halves to even: texts are numbers with fractions and no floats.
(+ "2.5") (+ "3.5")  ; values: 2, 4
(+ 1 a)  ; error: Value (a) is a dtAtom type
; Beyond thirty two bits.
(+ 2147483647 1) (- -2147483648 1)  ; values: 2147483648.0000, -2147483649.0000
(* 65536 65536) (* 65536 65536 0) (mod -2147483648 -1)  ; values: 4294967296.0000, 0, 0
(div -2147483648 -1)  ; error: Integer overflow in $ function call: 2147483648
(max "3000000000")  ; error: Integer overflow in $ function call: 3000000000.0000
(abs -2147483648)  ; error: Integer overflow in $ function call: 2147483648
; Division.
(/ 8 2 2) (/ 5) (div -7 2) (div 100 5 2.9) (mod -7 2)  ; values: 2.0000, 5.0000, -3, 10, -1
(mod 7 -2)  ; expect: 1
(/ 1 0)  ; error: Division by zero in / function call
(div 1 2 0) (mod 1 0)  ; error: Division by zero in $ function call
; Largest and smallest.
; On a tie the earlier stays, and a float that does not win leaves no trace.
(max 1 1.0) (max 1.0 1) (max 2 1.5)  ; values: 1, 1.0000, 2
; A float that has won once makes the result a float.
(max 1.5 2) (min 1.5 1)  ; values: 2.0000, 1.0000
; One number.
(abs -3) (round 2.5) (round 3.5) (round -2.6)  ; values: 3, 2, 4, -3
(abs a)  ; error: Expected numeric argument to abs function call
; Random ranges must have a number in them.
(random 7 1) (random 2147483647 1) (random 1)  ; values: 7, 2147483647, 0
(random 7 0)  ; error: Invalid low and high limits specified: 7.0000 to 0.0000
(random -3)  ; error: Invalid low and high limits specified: 0.0000 to -3.0000
(random 2147483647 2)  ; error: Invalid low and high limits specified: 2147483647.0000 to 2.0000
; Outside the domain and beyond the range.
(sqrt -1) (log 0) (log -2) (log10 0.0) (** -8 0.5)  ; error: Invalid argument for $ function call: 
(** 0 -1) (** -0.0 -3)  ; error: Invalid argument for $ function call: 
(** -8 0.5)  ; error: call: -8
(exp 1000) (** 10 400) (+ 1e308 1e308)  ; error: Floating point overflow in $ function call
(- -1e308 1e308) (* 1e200 1e200 0.0) (/ 1e200 1e-200)  ; error: overflow in $ function call
(exp -1000) (** -8 3) (** 0 0)  ; values: 0.0000, -512.0000, 1.0000
