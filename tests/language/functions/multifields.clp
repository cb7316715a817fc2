; The functions on lists.
; Building and reading.
(create$)  ; values: 
; Nothing is flattened.
(length$ (create$ a (create$ b c))) (length$ (create$)) (nth$ 1 (create$ a b))  ; values: 2, 0, b
(member$ b (create$ a b b)) (member$ z (create$ a b))  ; values: 1, FALSE
(member$ 1 (create$ 1.0 1)) (first$ (create$)) (rest$ (create$))  ; values: 1,
(nth$ 2 (create$ a b))  ; error: List index out of bounds (2)
(nth$ -1 (create$ a b))  ; error: List index out of bounds (-1)
; Changing.
(insert$ (create$ a b) 1 x y) (insert$ (create$ a b) 2 x)  ; values: a y x b, a b x
(replace$ (create$ a b c) 1 9 x) (delete$ (create$ a b c) 0 1)  ; values: a x, c
(delete$ (create$ a b c) 5 9)  ; expect: a b c 
(delete$ (create$ a b c) 2 1)  ; error: Invalid multifield begin and end parameters: 2, 1
(subseq$ (create$ a b c) 1 3)  ; error: List index out of bounds (3)
(insert$ (create$ a) 2 x)  ; error: List index out of bounds (2)
(replace$ (create$ a) 1 1 x)  ; error: List index out of bounds (1)
(replace$ (create$ a) -1 0 x)  ; error: List index out of bounds (-1)
; Text and runs.
(implode$ (create$)) (explode$ "  a   b ") (explode$ "")  ; values: "", a b,
(get-type (nth$ 0 (explode$ "1 2")))  ; expect: dtAtom
(subsetp (create$ a c) (create$ a b c))  ; expect: FALSE
(subsetp (create$ b c d) (create$ a b c))  ; expect: FALSE
(subsetp (create$ a a b) (create$ a a a b)) (subsetp b (create$ a b))  ; values: TRUE, TRUE
(subsetp (create$) (create$)) (subsetp (create$) (create$ a))  ; values: TRUE, TRUE
