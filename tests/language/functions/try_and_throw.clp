; finally runs first, catch after it; the message is in ?__ERROR.
(try (throw "lost") catch (printout t "caught " ?__ERROR crlf))
; expect: caught lost
(try (+ 1 a) finally (printout t "tidy" crlf) except (printout t ?__ERROR crlf) done)
; expect: tidy
; expect: Not a numeric type.  Value (a) is a dtAtom type
; expect: done
(try (throw "lost") finally 1)                     ; expect: FALSE
(try fine catch never)                             ; expect: fine
(deffunction safe (?x) (try (if (> ?x 1) then (throw "big")) small catch (return ?__ERROR)))
(safe 1)                                           ; expect: small
(safe 2)                                           ; expect: "big"
(throw "for good")
; expect error: for good
; expect place: 13:18
