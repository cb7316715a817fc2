#include "tests/oracle/Program.h"

#include <algorithm>

namespace reasoner::oracle {

std::string TValue::ToString() const {
  if (shape) return "fuzzy";
  if (!is_list) return items.front();
  std::string text;
  for (const std::string& item : items) text += item + " ";
  return text;
}

std::string TTerm::ToString() const { return call ? call->ToString() : text; }

std::string TCall::ToString() const {
  std::string result = "(" + function;
  for (const TTerm& term : terms) result += " " + term.ToString();
  return result + ")";
}

std::string TConstraint::ToString() const {
  const std::string sign = negated ? "~" : "";
  if (kind == kPredicate) return sign + ":" + call->ToString();
  if (kind == kEquation) return sign + "=" + call->ToString();
  return sign + text;
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

std::string TElement::ToString() const {
  std::string result;
  if (is_test) {
    result = "(test " + test.ToString() + ")";
    return negations > 0 ? "(not " + result + ")" : result;
  }
  const TTemplateText& described = Templates()[static_cast<std::size_t>(fact_template)];
  result = "(" + described.name;
  for (std::size_t i = 0; i < slots.size(); ++i) {
    if (!slots[i].is_tested) continue;
    if (!described.is_ordered) result += " (" + described.slots[i].name;
    for (const TField& field : slots[i].fields) result += " " + field.ToString();
    if (!described.is_ordered) result += ")";
  }
  result += ")";
  if (unique) result = "(unique " + result + ")";
  for (std::int32_t left = negations; left > 0;) {
    const bool exists = left >= 2;
    result = (exists ? "(exists " : "(not ") + result + ")";
    left -= exists ? 2 : 1;
  }
  return bound.empty() ? result : bound + " <- " + result;
}

std::string TRuleText::ToString() const {
  std::string result = "(defrule " + name;
  if (salience != 0) result += " (declare (salience " + std::to_string(salience) + "))";
  for (const TElement& element : elements) result += "\n  " + element.ToString();
  result += "\n  =>";
  for (const TAction& action : actions) {
    if (action.kind == TAction::kAssertFuzzy) {
      std::vector<std::string> fields;
      for (const TTerm& term : action.terms) fields.push_back(term.ToString());
      result += "\n  (assert " + FactText(action.fact_template, BySlot(action, fields)) + ")";
      continue;
    }
    result += action.kind == TAction::kAssert ? "\n  (assert (o" : "\n  (retract";
    for (const TTerm& term : action.terms) result += " " + term.ToString();
    result += action.kind == TAction::kAssert ? "))" : ")";
  }
  return result + ")";
}

const std::vector<TTemplateText>& Templates() {
  static const std::vector<TTemplateText> kTemplates = {
      {"o", true, -1, {{"__Data", true, false}}},
      {"p", false, -1, {{"x", false, false}, {"y", false, false}}},
      {"q", false, -1, {{"l", true, false}, {"x", false, false}}},
      {"s", false, 1, {{"x", false, false}, {"y", false, false}, {"z", false, false}}},
      {"w", true, -1, {{"__Data", true, false}}},
      {"v", false, -1, {{"d", false, true}, {"e", false, true}, {"x", false, false}}},
      {"u", false, -1, {{"g", true, true}, {"x", false, false}}},
  };
  return kTemplates;
}

bool Descends(std::int32_t fact_template, std::int32_t ancestor) {
  for (; fact_template >= 0;
       fact_template = Templates()[static_cast<std::size_t>(fact_template)].parent) {
    if (fact_template == ancestor) return true;
  }
  return false;
}

std::string Preamble() {
  return "(deftemplate p (slot x) (slot y))\n"
         "(deftemplate q (multislot l) (slot x))\n"
         "(deftemplate s extends p (slot z))\n"
         "(deftype t extends (type FUZZY) (range 0 8) (values\n"
         "  (term cold ((0 1) (3 0))) (term mild (tri 1 4 7)) (term hot ((5 0) (8 1)))\n"
         "  (term dull ((0 0.6) (2 0.6) (6 0.2)))))\n"
         "(deftemplate v (slot d (type t)) (slot e (type t)) (slot x))\n"
         "(deftemplate u (multislot g (type t)) (slot x))\n"
         "(deffunction pick (?one ?other) (if (eq ?one ?other) then a else b))\n";
}

std::string FactText(std::int32_t fact_template,
                     const std::vector<std::vector<std::string>>& values) {
  const TTemplateText& described = Templates()[static_cast<std::size_t>(fact_template)];
  std::string result = "(" + described.name;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!described.is_ordered) result += " (" + described.slots[i].name;
    for (const std::string& value : values[i]) result += " " + value;
    if (!described.is_ordered) result += ")";
  }
  return result + ")";
}

}  // namespace reasoner::oracle
