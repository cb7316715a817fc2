; expect: FALSE
; expect error: Unknown variable name: nowhere
; What fails is not defined, what stands before it is.
(deffunction guarded () (try (assert-string "(p (x") FALSE catch FALSE))
(guarded)
?nowhere
