; not follows facts as they come and go; exists fires once, however many facts there are.
(deffacts d (task 1) (task 2) (done 1))
(defrule some (declare (salience 9)) (exists (task ?)) => (printout t "there is work" crlf))
(defrule open
  ?task <- (task ?n)
  (not (done ?n))
  =>
  (printout t "open " ?n crlf)
  (assert (done ?n)))
(defrule tidy
  (declare (salience -1))
  ?task <- (task ?n)
  (done ?n)
  =>
  (retract ?task))
(defrule none (declare (salience -2)) (not (task ?)) => (printout t "all done" crlf))
; expect: there is work
; expect: open 2
; expect: all done
