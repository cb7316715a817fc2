; expect error: No such slot name: "age"
; What stands before the mistake is there.
(deftemplate person (slot name))
(defrule r (person (name ?name)) => (printout t "person " ?name crlf))
(assert (person (name Ann)))  ; expect: <Fact-1>
(run)  ; expect: person Ann
; expect: 1
(defrule s (person (age ?)) => )
