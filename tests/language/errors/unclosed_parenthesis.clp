; expect error: Parsing Error, Unexpected end of stream in ParseFunCall at line 6:  ( printout t ( + 1 2 ) \nEOF 
; expect place: 6:1
; expect: 3
(+ 1 2)
(printout t (+ 1 2)
