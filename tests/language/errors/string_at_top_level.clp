; expect error: Parsing Error, Unexpected symbol, expected a "(", constant, or global variable: \"abc"\ in GetConstructType at line 3: \"abc"\ 
; expect place: 3:1
"abc"
