; A test that raises has not passed: the pair is no match, both facts stay, and every other match is
; made. The failure is raised when all that is done.
(deffunction try-assert ($?texts)
  (try (foreach text ?texts (assert-string ?text)) catch (printout t ?text ": " ?*error* crlf)))
