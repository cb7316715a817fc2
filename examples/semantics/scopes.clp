; A function sees its own variables and the globals; literally, those of its caller, too.

(defglobal ?*rate* = 2)

(deffunction scaled (?value)
  (* ?value ?*rate*))

(deffunction trial (?*rate*)
  (scaled 10))

(defrule show
  =>
  (printout t (scaled 10) " " (trial 5) crlf))
