(deffacts shelf
  (shelf milk nil honey))

(defrule show
  (shelf $?)
  =>
  (facts))
