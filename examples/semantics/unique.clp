; One worker for the job, and no more; who has been named goes home.

(deffacts workshop
  (worker ann)
  (worker bob)
  (job paint)
  (worker cid))

(defrule assign
  (job ?job)
  ?worker <- (unique (worker ?name))
  =>
  (printout t ?name " may " ?job crlf)
  (retract ?worker))
