; A diagnosis that asks for what it needs, and for nothing else. `do-backward-chaining` marks the
; template answer: where a rule's other patterns hold and no answer is there, a goal is asserted, a
; fact of the template need-answer. A rule on the goal gets the answer, here from a list.

(deftemplate answer
  (slot about)
  (slot is))

(do-backward-chaining answer)

(deffacts what-the-user-would-say
  (says starter silent)
  (says lights dim)
  (says fuel-gauge empty))

(deffacts complaint
  (complaint does-not-start))

; The questions. Each runs only while its answer is wanted and not there.

(defrule ask
  (need-answer (about ?topic))
  (says ?topic ?reply)
  =>
  (printout t "How is the " ?topic "? " ?reply crlf)
  (assert (answer (about ?topic) (is ?reply))))

; The tree of the diagnosis: the second question depends on the answer to the first one.

(defrule a-silent-starter-may-be-the-battery
  (complaint does-not-start)
  (answer (about starter) (is silent))
  (answer (about lights) (is ?state))
  =>
  (assert (verdict (if (eq ?state dim) then "the battery is flat" else "the starter is broken"))))

(defrule a-turning-starter-may-be-the-fuel
  (complaint does-not-start)
  (answer (about starter) (is turns))
  (answer (about fuel-gauge) (is empty))
  =>
  (assert (verdict "the tank is empty")))

; `explicit` looks without asking.

(defrule a-known-tank-is-told-along
  (complaint ?)
  (explicit (answer (about fuel-gauge) (is ?state)))
  =>
  (printout t "By the way, the fuel gauge shows " ?state "." crlf))

(defrule tell
  (verdict ?text)
  =>
  (printout t "Most likely " ?text "." crlf))
