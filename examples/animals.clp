; Which animal is it?
;
; What somebody saw stands in the facts below. Three layers of rules work on it: from what was seen
; to the group (mammal, bird, fish), from the group to the way of life (hunter, grazer), and from
; both to the animal. Every conclusion is printed with the reasons for it.

; One thing that was seen of one visitor: what it has, does or wears.
(deftemplate seen
  (slot visitor)
  (slot sign (type SYMBOL)
    (allowed-symbols hair feathers scales milk eggs flies swims hoofs claws forward-eyes
                     eats-meat long-neck dark-spots black-stripes tawny white-and-black)))

; A layer's conclusion about a visitor. `about` is one of group, life and name.
(deftemplate concluded
  (slot visitor)
  (slot about)
  (slot is))

(deffacts visitors "Who came to the water hole, in the order of their coming"
  (visitor Tuesday)
  (visitor Wednesday)
  (visitor Thursday)
  (visitor Friday)
  (visitor Saturday))

(deffacts signs
  (seen (visitor Tuesday) (sign hair))
  (seen (visitor Tuesday) (sign eats-meat))
  (seen (visitor Tuesday) (sign tawny))
  (seen (visitor Tuesday) (sign dark-spots))
  (seen (visitor Wednesday) (sign milk))
  (seen (visitor Wednesday) (sign hoofs))
  (seen (visitor Wednesday) (sign black-stripes))
  (seen (visitor Thursday) (sign feathers))
  (seen (visitor Thursday) (sign swims))
  (seen (visitor Thursday) (sign white-and-black))
  (seen (visitor Friday) (sign hair))
  (seen (visitor Friday) (sign claws))
  (seen (visitor Friday) (sign forward-eyes))
  (seen (visitor Friday) (sign tawny))
  (seen (visitor Friday) (sign black-stripes))
  (seen (visitor Saturday) (sign scales))
  (seen (visitor Saturday) (sign eggs)))

; --- The group ------------------------------------------------------------------------------------

(defrule hair-makes-a-mammal
  (declare (salience 30))
  (seen (visitor ?who) (sign hair))
  =>
  (printout t ?who ": has hair, so it is a mammal" crlf)
  (assert (concluded (visitor ?who) (about group) (is mammal))))

(defrule milk-makes-a-mammal
  (declare (salience 30))
  (seen (visitor ?who) (sign milk))
  =>
  (printout t ?who ": gives milk, so it is a mammal" crlf)
  (assert (concluded (visitor ?who) (about group) (is mammal))))

(defrule feathers-make-a-bird
  (declare (salience 30))
  (seen (visitor ?who) (sign feathers))
  =>
  (printout t ?who ": has feathers, so it is a bird" crlf)
  (assert (concluded (visitor ?who) (about group) (is bird))))

(defrule flying-egg-layers-are-birds
  (declare (salience 30))
  (seen (visitor ?who) (sign flies))
  (seen (visitor ?who) (sign eggs))
  =>
  (printout t ?who ": flies and lays eggs, so it is a bird" crlf)
  (assert (concluded (visitor ?who) (about group) (is bird))))

; --- The way of life ------------------------------------------------------------------------------

(defrule meat-makes-a-hunter
  (declare (salience 20))
  (concluded (visitor ?who) (about group) (is mammal))
  (seen (visitor ?who) (sign eats-meat))
  =>
  (printout t ?who ": is a mammal and eats meat, so it is a hunter" crlf)
  (assert (concluded (visitor ?who) (about life) (is hunter))))

(defrule claws-and-eyes-make-a-hunter
  (declare (salience 20))
  (concluded (visitor ?who) (about group) (is mammal))
  (seen (visitor ?who) (sign claws))
  (seen (visitor ?who) (sign forward-eyes))
  =>
  (printout t ?who ": has claws and eyes that look forward, so it is a hunter" crlf)
  (assert (concluded (visitor ?who) (about life) (is hunter))))

(defrule hoofs-make-a-grazer
  (declare (salience 20))
  (concluded (visitor ?who) (about group) (is mammal))
  (seen (visitor ?who) (sign hoofs))
  =>
  (printout t ?who ": is a mammal with hoofs, so it is a grazer" crlf)
  (assert (concluded (visitor ?who) (about life) (is grazer))))

; --- The animal -----------------------------------------------------------------------------------

(defrule cheetah
  (declare (salience 10))
  (concluded (visitor ?who) (about life) (is hunter))
  (seen (visitor ?who) (sign tawny))
  (seen (visitor ?who) (sign dark-spots))
  =>
  (assert (concluded (visitor ?who) (about name) (is cheetah))))

(defrule tiger
  (declare (salience 10))
  (concluded (visitor ?who) (about life) (is hunter))
  (seen (visitor ?who) (sign tawny))
  (seen (visitor ?who) (sign black-stripes))
  =>
  (assert (concluded (visitor ?who) (about name) (is tiger))))

(defrule zebra
  (declare (salience 10))
  (concluded (visitor ?who) (about life) (is grazer))
  (seen (visitor ?who) (sign black-stripes))
  =>
  (assert (concluded (visitor ?who) (about name) (is zebra))))

(defrule giraffe
  (declare (salience 10))
  (concluded (visitor ?who) (about life) (is grazer))
  (seen (visitor ?who) (sign long-neck))
  =>
  (assert (concluded (visitor ?who) (about name) (is giraffe))))

(defrule penguin
  (declare (salience 10))
  (concluded (visitor ?who) (about group) (is bird))
  (seen (visitor ?who) (sign swims))
  (seen (visitor ?who) (sign white-and-black))
  (not (seen (visitor ?who) (sign flies)))
  =>
  (assert (concluded (visitor ?who) (about name) (is penguin))))

; --- The report -----------------------------------------------------------------------------------

(defrule tell-the-name
  (visitor ?who)
  (concluded (visitor ?who) (about name) (is ?animal))
  =>
  (printout t ?who "'s visitor was a " ?animal crlf))

(defrule tell-that-nothing-fits
  (declare (salience -10))
  (visitor ?who)
  (not (concluded (visitor ?who) (about name)))
  =>
  (printout t ?who "'s visitor stays unknown" crlf))
