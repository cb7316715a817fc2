; A robot fetches a lamp from the top of a shelf.
;
; The goal is a fact. A rule that cannot reach a goal yet asserts the goals that come before it; a
; rule that can reach it does the step and takes the goal away. Phases keep planning, looking at the
; room and reporting apart.

(deftemplate thing
  (slot name)
  (slot at)                                   ; a place on the floor
  (slot on (default floor))                   ; floor, shelf, wall, hand, or the thing it stands on
  (slot weight (type SYMBOL) (default light) (allowed-symbols light heavy)))

(deftemplate robot
  (slot at)
  (slot on (default floor))
  (slot holds (default nothing)))

(deftemplate goal
  (slot do (type SYMBOL) (allowed-symbols hold stand-at put-under climb come-down empty-hand bring))
  (slot what (default nothing))
  (slot where (default nowhere)))

(deffacts room
  (phase look)
  (robot (at door) (holds umbrella))
  (thing (name umbrella) (at door) (on hand))
  (thing (name lamp) (at window) (on shelf))
  (thing (name stool) (at corner))
  (thing (name piano) (at stairs) (weight heavy))
  (goal (do bring) (what lamp) (where table)))

; --- Looking at the room --------------------------------------------------------------------------

(defrule look-around
  (phase look)
  (thing (name ?name) (at ?place) (on ?on&~hand))
  =>
  (printout t "The " ?name " is on the " ?on " at the " ?place "." crlf))

(defrule start-to-work
  (declare (salience -100))
  ?phase <- (phase look)
  =>
  (retract ?phase)
  (printout t crlf)
  (assert (phase work) (steps 0)))

; --- Bringing -------------------------------------------------------------------------------------

(defrule bring-needs-the-thing
  (phase work)
  (goal (do bring) (what ?what))
  (robot (holds ~?what))
  =>
  (assert (goal (do hold) (what ?what))))

(defrule bring-needs-the-floor
  (phase work)
  (goal (do bring) (what ?what))
  (robot (holds ?what) (on ~floor))
  =>
  (assert (goal (do come-down))))

(defrule bring-needs-the-place
  (phase work)
  (goal (do bring) (what ?what) (where ?where))
  (robot (holds ?what) (on floor) (at ~?where))
  =>
  (assert (goal (do stand-at) (where ?where))))

(defrule bring
  (phase work)
  ?goal <- (goal (do bring) (what ?what) (where ?where))
  ?robot <- (robot (holds ?what) (on floor) (at ?where))
  ?thing <- (thing (name ?what))
  =>
  (retract ?goal)
  (modify ?robot (holds nothing))
  (modify ?thing (at ?where) (on ?where))
  (assert (did (str-cat "puts the " ?what " on the " ?where))))

; --- Holding something ----------------------------------------------------------------------------

(defrule hold-needs-an-empty-hand
  (declare (salience 5))
  (phase work)
  (goal (do hold) (what ?what))
  (robot (holds ?other&~nothing&~?what))
  (not (goal (do put-under) (what ?other)))
  =>
  (assert (goal (do empty-hand) (what ?other))))

(defrule hold-from-the-floor-needs-the-place
  (phase work)
  (goal (do hold) (what ?what))
  (thing (name ?what) (at ?place) (on floor) (weight light))
  (robot (holds nothing) (on floor) (at ~?place))
  =>
  (assert (goal (do stand-at) (where ?place))))

(defrule hold-from-the-floor
  (phase work)
  ?goal <- (goal (do hold) (what ?what))
  ?thing <- (thing (name ?what) (at ?place) (on floor) (weight light))
  ?robot <- (robot (holds nothing) (on floor) (at ?place))
  =>
  (retract ?goal)
  (modify ?thing (on hand))
  (modify ?robot (holds ?what))
  (assert (did (str-cat "takes the " ?what))))

(defrule hold-from-the-shelf-needs-something-to-climb
  (phase work)
  (goal (do hold) (what ?what))
  (thing (name ?what) (at ?place) (on shelf))
  (thing (name ?step&~?what) (at ~?place) (on floor) (weight light))
  (not (thing (at ?place) (on floor)))
  (robot (holds nothing))
  =>
  (assert (goal (do put-under) (what ?step) (where ?place))))

(defrule hold-from-the-shelf-needs-the-climb
  (phase work)
  (goal (do hold) (what ?what))
  (thing (name ?what) (at ?place) (on shelf))
  (thing (name ?step) (at ?place) (on floor))
  (robot (holds nothing) (on floor))
  =>
  (assert (goal (do climb) (what ?step))))

(defrule hold-from-the-shelf
  (phase work)
  ?goal <- (goal (do hold) (what ?what))
  ?thing <- (thing (name ?what) (at ?place) (on shelf))
  ?robot <- (robot (holds nothing) (on ~floor) (at ?place))
  =>
  (retract ?goal)
  (modify ?thing (on hand))
  (modify ?robot (holds ?what))
  (assert (did (str-cat "takes the " ?what " from the shelf"))))

(defrule empty-hand
  (phase work)
  ?goal <- (goal (do empty-hand) (what ?what))
  ?robot <- (robot (holds ?what) (at ?place))
  ?thing <- (thing (name ?what))
  =>
  (retract ?goal)
  (modify ?robot (holds nothing))
  (modify ?thing (at ?place) (on wall))
  (assert (did (str-cat "hangs the " ?what " on the wall"))))

; --- Moving ---------------------------------------------------------------------------------------

(defrule put-under-needs-the-thing
  (phase work)
  (goal (do put-under) (what ?what))
  (robot (holds ~?what))
  =>
  (assert (goal (do hold) (what ?what))))

(defrule put-under-needs-the-place
  (phase work)
  (goal (do put-under) (what ?what) (where ?place))
  (robot (holds ?what) (at ~?place))
  =>
  (assert (goal (do stand-at) (where ?place))))

(defrule put-under
  (phase work)
  ?goal <- (goal (do put-under) (what ?what) (where ?place))
  ?robot <- (robot (holds ?what) (at ?place))
  ?thing <- (thing (name ?what))
  =>
  (retract ?goal)
  (modify ?thing (at ?place) (on floor))
  (modify ?robot (holds nothing))
  (assert (did (str-cat "puts the " ?what " down"))))

(defrule walk
  (phase work)
  ?goal <- (goal (do stand-at) (where ?place))
  ?robot <- (robot (on floor))
  =>
  (retract ?goal)
  (modify ?robot (at ?place))
  (assert (did (str-cat "walks to the " ?place))))

(defrule climb
  (phase work)
  ?goal <- (goal (do climb) (what ?what))
  (thing (name ?what) (at ?place) (on floor))
  ?robot <- (robot (at ?place) (on floor))
  =>
  (retract ?goal)
  (modify ?robot (on ?what))
  (assert (did (str-cat "climbs on the " ?what))))

(defrule come-down
  (phase work)
  ?goal <- (goal (do come-down))
  ?robot <- (robot (on ?what&~floor))
  =>
  (retract ?goal)
  (modify ?robot (on floor))
  (assert (did (str-cat "comes down from the " ?what))))

; --- Telling --------------------------------------------------------------------------------------

(defrule count-the-step
  (declare (salience 50))
  ?did <- (did ?what)
  ?steps <- (steps ?count)
  =>
  (retract ?did ?steps)
  (printout t (+ ?count 1) ". The robot " ?what "." crlf)
  (assert (steps (+ ?count 1))))

(defrule done
  (declare (salience -100))
  (phase work)
  (not (goal))
  (steps ?count)
  =>
  (printout t crlf "Done in " ?count " steps." crlf))

(defrule stuck
  (declare (salience -100))
  (phase work)
  (goal (do ?do) (what ?what))
  =>
  (printout t "The robot does not know how to " ?do " the " ?what "." crlf))
