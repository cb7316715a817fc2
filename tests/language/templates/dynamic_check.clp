; option: checks dynamic
; What comes out of a variable is checked when the fact is made.
; expect: before
; expect error: Value "77" is not valid, Range must be between 1.0000 and 5.0000 for x slot
; expect place: rule copy
(deftemplate p (slot x (range 1 5)))
(deffacts d (q 77))
(defrule copy (q ?v) => (printout t before crlf) (assert (p (x ?v))) (printout t after crlf))
