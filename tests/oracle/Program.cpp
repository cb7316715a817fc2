#include "tests/oracle/Program.h"

#include <algorithm>
#include <optional>

namespace reasoner::oracle {

std::string TValue::ToString() const {
  if (shape) return "fuzzy";
  if (!is_list) return word.Text();
  std::string text = "(";
  for (const TWord& item : items) text += item.Text() + " ";
  return text + ")";
}

std::string TTerm::ToString() const { return call ? call->ToString() : text.Text(); }

template <class TTerms>
static std::string Spaced(const TTerms& terms) {
  std::string text;
  for (const auto& term : terms) text += " " + term.ToString();
  return text;
}

std::string TCall::ToString() const { return "(" + function + Spaced(terms) + ")"; }

std::string TConstraint::ToString() const {
  const std::string sign = negated ? "~" : "";
  if (kind == kPredicate) return sign + ":" + call->ToString();
  if (kind == kEquation) return sign + "=" + call->ToString();
  return sign + text.Text();
}

std::size_t TField::GetPlainCount() const {
  if (!HasBar()) return constraints.size();
  const TConstraint& first = constraints.front();
  const bool leads = first.kind == TConstraint::kVariable && !first.negated;
  return leads && !constraints[1].behind_bar ? 1 : 0;
}

bool TField::HasBar() const {
  return constraints.size() > 1 &&
         std::any_of(constraints.begin() + 1, constraints.end(),
                     [](const TConstraint& constraint) { return constraint.behind_bar; });
}

std::string TField::ToString() const {
  if (constraints.empty()) return is_span ? "$?" : "?";
  std::string result;
  for (const TConstraint& constraint : constraints) {
    if (!result.empty()) result += constraint.behind_bar ? "|" : "&";
    result += constraint.ToString();
  }
  return result;
}

// What stands in the slots, by a function that gives a slot's text with a blank before each part,
// or nothing for a slot that is left out.
template <class TSlots, class TPrint>
static std::string Filled(std::int32_t fact_template, const TSlots& slots, const TPrint& print) {
  const TTemplateText& described = TemplateAt(fact_template);
  std::string result = "(" + described.name;
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const std::optional<std::string> text = print(slots[i]);
    if (!text) continue;
    result += described.is_ordered ? *text : " (" + described.slots[i].name + *text + ")";
  }
  return result + ")";
}

std::string TElement::ToString() const {
  std::string result;
  if (is_test) {
    result = "(test " + test.ToString() + ")";
    return negations > 0 ? "(not " + result + ")" : result;
  }
  result = Filled(fact_template, slots, [](const TSlotPattern& slot) {
    return slot.is_tested ? std::optional(Spaced(slot.fields)) : std::nullopt;
  });
  if (unique) result = "(unique " + result + ")";
  for (std::int32_t left = negations; left > 0;) {
    const bool exists = left >= 2;
    result = (exists ? "(exists " : "(not ") + result + ")";
    left -= exists ? 2 : 1;
  }
  return bound.IsEmpty() ? result : bound.Text() + " <- " + result;
}

std::string TFactForm::ToString() const {
  return Filled(fact_template, slots,
                [](const std::vector<TTerm>& terms) { return std::optional(Spaced(terms)); });
}

std::string TAction::ToString() const {
  switch (kind) {
    case kAssert:
      return "(assert" + Spaced(facts) + ")";
    case kRetract:
      return "(retract " + name.Text() + ")";
    case kModify:
    case kDuplicate: {
      std::string text = (kind == kModify ? "(modify " : "(duplicate ") + name.Text();
      for (const auto& [slot, terms] : changes)
        text += " (" + TemplateAt(fact_template).slots[slot].name + Spaced(terms) + ")";
      return text + ")";
    }
    case kBind:
      return "(bind " + name.Text() + " " + term.ToString() + ")";
    case kIf:
      return "(if " + term.ToString() + " then" + Spaced(actions) +
             (otherwise.empty() ? "" : " else" + Spaced(otherwise)) + ")";
    case kUndefRule:
      return "(undefrule " + name.Text() + ")";
    case kReset:
      break;
  }
  return "(reset)";
}

std::string TRuleText::ToString() const {
  std::string result = "(defrule " + name;
  if (salience != 0) result += " (declare (salience " + std::to_string(salience) + "))";
  for (const TElement& element : elements) result += "\n  " + element.ToString();
  result += "\n  =>";
  for (const TAction& action : actions) result += "\n  " + action.ToString();
  return result + ")";
}

const std::vector<TTemplateText>& Templates() {
  static const std::vector<TTemplateText> kTemplates = {
      {"o", true, -1, {{"__Data", true, false}}, ""},
      {"p",
       false,
       -1,
       {{"x", false, false}, {"y", false, false}},
       "(deftemplate p (slot x) (slot y))"},
      {"q",
       false,
       -1,
       {{"l", true, false}, {"x", false, false}},
       "(deftemplate q (multislot l) (slot x))"},
      {"s",
       false,
       1,
       {{"x", false, false}, {"y", false, false}, {"z", false, false}},
       "(deftemplate s extends p (slot z))"},
      {"w", true, -1, {{"__Data", true, false}}, ""},
      {"n",
       false,
       3,
       {{"m", true, false}, {"x", false, false}, {"y", false, false}, {"z", false, false}},
       "(deftemplate n extends s (multislot m))"},
      {"v",
       false,
       -1,
       {{"d", false, true}, {"e", false, true}, {"x", false, false}},
       "(deftemplate v (slot d (type t)) (slot e (type t)) (slot x))"},
      {"u",
       false,
       -1,
       {{"g", true, true}, {"x", false, false}},
       "(deftemplate u (multislot g (type t)) (slot x))"},
  };
  return kTemplates;
}

bool Descends(std::int32_t fact_template, std::int32_t ancestor) {
  for (; fact_template >= 0; fact_template = TemplateAt(fact_template).parent) {
    if (fact_template == ancestor) return true;
  }
  return false;
}

std::size_t SlotOf(std::int32_t fact_template, const std::string& name) {
  const std::vector<TSlotText>& slots = TemplateAt(fact_template).slots;
  std::size_t slot = 0;
  while (slot < slots.size() && slots[slot].name != name) ++slot;
  return slot;
}

const std::vector<TWord>& GlobalNames() {
  static const std::vector<TWord> kNames = {"?*g*", "?*h*"};
  return kNames;
}

std::string Preamble(const TProgram& program) {
  std::string text =
      "(deftype t extends (type FUZZY) (range 0 8) (values\n"
      "  (term cold ((0 1) (3 0))) (term mild (tri 1 4 7)) (term hot ((5 0) (8 1)))\n"
      "  (term dull ((0 0.6) (2 0.6) (6 0.2)))))\n";
  for (const TTemplateText& described : Templates()) {
    if (!described.text.empty()) text += described.text + "\n";
  }
  text +=
      "(deffunction pick (?one ?other) (if (eq ?one ?other) then a else b))\n"
      "(deffunction must (?one ?bad) (if (eq ?one ?bad) then (throw \"bad\") else TRUE))\n"
      "(deffunction same (?one) (if TRUE then ?one))\n"
      "(deffunction use-ids (?n)\n"
      "  (while (> ?n 0) do (bind ?id (assert (used))) (retract ?id) (bind ?n (- ?n 1))))\n";
  for (std::size_t i = 0; i < program.globals.size(); ++i)
    text += "(defglobal " + GlobalNames()[i].Text() + " = " + program.globals[i].Text() + ")\n";
  return text;
}

std::string FactText(std::int32_t fact_template, const std::vector<std::vector<TWord>>& values) {
  return Filled(fact_template, values, [](const std::vector<TWord>& words) {
    std::string text;
    for (const TWord& word : words) text += " " + word.Text();
    return std::optional(text);
  });
}

}  // namespace reasoner::oracle
