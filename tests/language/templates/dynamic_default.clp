; A plain default is evaluated once, when the template is read; a dynamic one for every fact.
(deftemplate ticket
  (slot fixed (default (gensym*)))
  (slot fresh (default-dynamic (gensym*))))
(deffacts two (ticket) (ticket (fixed mine)))
(defrule tell (ticket (fixed ?fixed) (fresh ?fresh)) => (printout t ?fixed " " ?fresh crlf))
; expect: mine gen2
; expect: gen0 gen1
