; printout joins its pieces without anything between them.
(printout t a "b c" 1 " " 2.0 " " -0.5 crlf)     ; expect: ab c1 2.0000 -0.5000
(printout t "a" crlf "b" crlf)
; expect: a
; expect: b
; Only the word ends a line, not the string.
(printout t "crlf" crlf)                         ; expect: crlf
(printout t "say \"hi\" \\ there" crlf)          ; expect: say "hi" \ there
; A list prints in parentheses, strings inside it in quotes.
(printout t (create$ a "b" 1 2.5) crlf)          ; expect: (a "b" 1 2.5000 )
(printout t (create$) "|" nil "|" crlf)          ; expect: ()||
