; expect error: Invalid string value, string was not terminated
; expect place: 4:13
; The place is where the string begins.
(printout t "abc)
(printout t never)
