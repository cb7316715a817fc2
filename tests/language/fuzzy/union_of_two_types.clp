; Values of two types are combined if a number means the same in both.
(deftype heat extends (type FUZZY) (range 0 40) (units C) (values (term hot (s 20 30))))
(deftype warmth extends (type heat) (values (term mild (tri 10 20 30))))
(deftype speed extends (type FUZZY) (range 0 100) (values (term fast (s 50 90))))
(defrule combine
  =>
  (bind ?hot (create-fuzzy-value heat hot))
  (printout t (get-fs-value (fuzzy-union ?hot (create-fuzzy-value warmth mild)) 20) crlf)
  (printout t (get-fs-value (fuzzy-union ?hot (tri 1 2 3)) 2) crlf)
  (try (create-fuzzy-value speed fast or ?hot) catch (printout t ?__ERROR crlf))
  (fuzzy-intersection ?hot (create-fuzzy-value speed fast)))
; expect: 1.0000
; expect: 1.0000
; expect: Fuzzy variables are different, fast is a term from speed and hot is a term from heat
; expect error: Fuzzy variables are different, hot is a term from heat and fast is a term from speed
