#include "tests/roundtrip/KnowledgeGenerator.h"

#include <algorithm>

#include "reasoner/language/PrettyPrint.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/values/Constants.h"

namespace reasoner {

static const std::string kAtoms[] = {"red",  "green",     "a b", "x;y", "(p",     "q)",  "nil",
                                     "12",   "1.5",       "?v",  "$?w", "a\"b",   "=",   "&",
                                     "~n",   "->",        "<-",  "-",   "TRUE",   "a|b", "\\",
                                     "a\nb", "\xC3\xA4o", "1e5", ":t",  "*star*", "=>"};
static const std::string kTexts[] = {
    "",     "word",         "two words", "a \"quoted\" word", "back\\slash",
    "\n",   "; no comment", "(a)",       "\xE2\x82\xAC 5",    "line\nbreak\n",
    "tab\t"};
// Names that need an escape, that the engine uses for itself, or that it could generate.
static const char* const kTemplateNames[] = {"test", "t|x", "12", "=t", "a\\b", "declare", "t~"};
static const char* const kRuleNames[] = {"7", "r|1", "=", "not", "nil;"};
static const char* const kVariableNames[] = {"_blank_0", "_blank_3", "_blank_$1", "_eq_2",
                                             "a b",      "1",        "x|y",       "__var0"};
static const char* const kTerms[] = {"other", "very", "very hot", "5", "a;b", "and", "[", "nil"};
// Fuzzy values of any type: every one has these terms.
static const char* const kFuzzyValues[] = {"low",
                                           "high",
                                           "very medium",
                                           "not low",
                                           "low or high",
                                           "not [ low or medium ] and-product high",
                                           "25",
                                           "0.123456789",
                                           "((0 0) (1.00001 0.5) (2 1))",
                                           "(tri 1 2 3)",
                                           "(s 0 10)",
                                           "(beta 5 4 1 2)",
                                           "nil",
                                           "very extremely (pi 2 1)",
                                           "high scaled-by 0.3 or [ low and [ high or low ] ]"};
static const std::int32_t kIntegers[] = {0, 1, -1, 2, 7, 100, -2147483647, 2147483647};
static const double kFloats[] = {0.0, 0.5, -1.25, 0.00001, 1e300, 3.14159265358979, 1.0 / 3, 100};

void KnowledgeGenerator::Try(const std::string& text) {
  try {
    engine_.Parse(text, true);
  } catch (const Exception&) {
  }
}

// Braces keep the order in which the pieces are drawn: operands of + have none.
static std::string Joined(std::initializer_list<std::string> pieces) {
  std::string text;
  for (const std::string& piece : pieces) text += piece;
  return text;
}

std::string KnowledgeGenerator::Comment() { return OneIn(2) ? "" : " " + QuoteText(OneOf(kTexts)); }

std::string KnowledgeGenerator::NewVariable(const std::string& plain) {
  if (!OneIn(5)) return plain;
  std::string source = "?";
  AppendNameSource(source, OneOf(kVariableNames));
  return source;
}

Ref<IKBValue> KnowledgeGenerator::Value(char kind) {
  switch (kind) {
    case 'a':
      return NewAtom(Drawn(kAtoms));
    case 's':
      return NewString(Drawn(kTexts));
    case 'i':
      return NewInteger(Drawn(kIntegers));
    case 'f':
      return NewFloat(Drawn(kFloats));
    case 'n':
      return Value(OneIn(2) ? 'i' : 'f');
    case 'l':
      return Value(OneIn(2) ? 'a' : 's');
    default:
      return Value("asif"[Below(4)]);
  }
}

std::string KnowledgeGenerator::Literal(char kind) {
  if (kind != 'z') return ValueToSource(*Value(kind));
  if (!terms_.empty() && OneIn(4)) {
    const std::string hedge = OneIn(3) ? "not " : "";
    return hedge + OneOf(terms_);
  }
  return OneOf(kFuzzyValues);
}

std::string KnowledgeGenerator::Facets(char kind, bool is_multi) {
  std::string text;
  if (is_multi && OneIn(3)) {
    text += OneIn(2) ? " (cardinality 0 4)" : " (cardinality ?VARIABLE 5)";
  }
  const bool is_number = kind == 'i' || kind == 'f' || kind == 'n';
  if (is_number && OneIn(3)) {
    static const char* const kRanges[] = {"(range -5 200)", "(range ?VARIABLE 150)",
                                          "(range 0.25 ?VARIABLE)", "(range -0.00001 7.5)"};
    text += std::string(" ") + OneOf(kRanges);
  } else if (OneIn(4)) {
    static const std::string kWords = "asifnl";
    static const char* const kClauses[] = {"symbols", "strings", "integers",
                                           "floats",  "numbers", "lexemes"};
    const std::size_t place = kWords.find(kind);
    text += " (allowed-" + std::string(place == std::string::npos ? "values" : kClauses[place]);
    for (std::uint32_t i = Below(4) + 1; i > 0; --i) text += " " + Literal(kind);
    text += ")";
  }
  if (OneIn(5)) text += " (units " + QuoteText(OneOf(kTexts)) + ")";
  return text;
}

static std::string TypeWord(char kind) {
  switch (kind) {
    case 'a':
      return "SYMBOL";
    case 's':
      return "STRING";
    case 'i':
      return "INTEGER";
    case 'f':
      return "FLOAT";
    case 'n':
      return "NUMBER";
    case 'l':
      return "LEXEME";
    default:
      return "?VARIABLE";
  }
}

void KnowledgeGenerator::AddType(const std::string& name) {
  if (OneIn(3)) return AddFuzzyType(name);
  TType type{name, "asifnl"[Below(6)]};
  std::string base = TypeWord(type.kind);
  if (!types_.empty() && OneIn(3) && types_.back().kind != 'z') {
    const TType& ancestor = types_.back();
    type.kind = ancestor.kind;
    base = ancestor.name;
  }
  const std::string comment = Comment();
  const bool is_multi = OneIn(3);
  Try("(deftype " + name + comment + " extends (type " + base + ")" + Facets(type.kind, is_multi) +
      ")");
  if (engine_.GetDefinedTypes().ContainsKey(name)) types_.push_back(type);
}

void KnowledgeGenerator::AddFuzzyType(const std::string& name) {
  const bool extends = !types_.empty() && types_.back().kind == 'z' && OneIn(2);
  if (OneIn(4)) engine_.FuzzyAutoTerms = !engine_.FuzzyAutoTerms;
  std::string text = "(deftype " + name + Comment() + " extends (type " +
                     (extends ? types_.back().name : "FUZZY") + ")";
  if (!extends || OneIn(3)) text += OneIn(2) ? " (range 0 10)" : " (range -0.5 3.14159265)";
  if (OneIn(3)) text += " (units " + QuoteText(OneOf(kTexts)) + ")";
  if (OneIn(2)) {
    text += " (values (term low " + std::string(OneIn(2) ? "(z 1 3)" : "4") + ")";
    text += " (term medium (pi 1 2.5 3)) (term high very not low)";
    if (OneIn(2)) {
      const std::string term = AtomToSource(OneOf(kTerms));
      text += " (term " + term + " " + Literal('z') + ")";
      terms_.push_back(term);
    }
    text += ")";
  }
  Try(text + ")");
  if (engine_.GetDefinedTypes().ContainsKey(name)) types_.push_back(TType{name, 'z'});
}

void KnowledgeGenerator::AddTemplate(const std::string& name) {
  TTemplate made{name, false, {}};
  std::string text = "(deftemplate " + AtomToSource(name) + Comment();
  if (!templates_.empty() && OneIn(4)) {
    const TTemplate& parent = OneOf(templates_);
    if (!parent.is_ordered) {
      text += " extends " + AtomToSource(parent.name);
      made.slots = parent.slots;
    }
  } else if (OneIn(8)) {
    made.is_ordered = true;
    made.slots.push_back(TSlot{"", '*', true});
    Try(text + ")");
    templates_.push_back(made);
    return;
  }
  for (std::uint32_t i = Below(3) + 1; i > 0; --i) {
    static const char* const kNames[] = {"s1", "s2", "s3", "s4", "Upper", "two-words", "12", "="};
    TSlot slot{AtomToSource(OneOf(kNames)), "asifnl*"[Below(7)], OneIn(3)};
    bool is_known = false;
    for (const TSlot& known : made.slots) is_known = is_known || known.name == slot.name;
    if (is_known) continue;
    text += slot.is_multi ? " (multislot " : " (slot ";
    text += slot.name;
    if (!types_.empty() && OneIn(3)) {
      const TType& type = OneOf(types_);
      slot.kind = type.kind;
      text += " (type " + type.name + ")";
      if (type.kind == 'z' && slot.is_multi && OneIn(3)) text += " (cardinality 0 4)";
    } else if (slot.kind != '*' || OneIn(2)) {
      text += " (type " + TypeWord(slot.kind) + ")" + Facets(slot.kind, slot.is_multi);
    }
    if (OneIn(4))
      text += " (default " + Literal(slot.kind) + ")";
    else if (OneIn(8))
      text += " (default-dynamic (create$ " + Literal(slot.kind) + "))";
    text += ")";
    made.slots.push_back(slot);
  }
  Try(text + ")");
  if (engine_.GetFactTemplates().ContainsKey(name)) templates_.push_back(made);
}

std::string KnowledgeGenerator::Expression(const std::vector<std::string>& variables, int depth) {
  if (depth <= 0 || OneIn(3)) {
    if (!variables.empty() && OneIn(2)) return OneOf(variables);
    if (!globals_.empty() && OneIn(5)) return "?" + OneOf(globals_);
    return Literal('*');
  }
  const auto inner = [&] { return Expression(variables, depth - 1); };
  switch (Below(9)) {
    case 0:
      return Joined({"(create$ ", inner(), " ", inner(), ")"});
    case 1:
      return Joined({"(str-cat ", inner(), " ", inner(), ")"});
    case 2:
      return Joined(
          {"(if (eq ", inner(), " ", inner(), ") then ", inner(), " else ", inner(), ")"});
    case 3:
      return "(length$ (create$ " + inner() + "))";
    case 4:
      return "(bind ?local " + inner() + ")";
    case 5:
      return "\n; a remark\n(sym-cat " + inner() + ")";
    case 6:
      return Joined({"(if (eq ", inner(), " b) then ", inner(), ")"});
    case 7:
      if (!functions_.empty()) return Joined({"(", OneOf(functions_), " ", inner(), ")"});
      return Joined({"(not (eq ", inner(), " ", inner(), "))"});
    default:
      return "(+ " + Literal('n') + " 1)";
  }
}

void KnowledgeGenerator::AddFunction(const std::string& name) {
  std::string text = "(deffunction " + name;
  if (OneIn(3)) text += " " + QuoteText(OneOf(kTexts));
  text += OneIn(3) ? " (?x $?rest)" : " (?x)";
  if (OneIn(4)) text += " " + QuoteText(OneOf(kTexts));
  for (std::uint32_t i = Below(3); i > 0; --i) text += " " + Expression({"?x"}, 2);
  Try(text + ")");
  functions_.push_back(name);
}

void KnowledgeGenerator::AddGlobal(const std::string& name) {
  const std::string value = OneIn(2) ? Literal('*') : "(create$ " + Expression({}, 2) + ")";
  Try("(defglobal ?" + name + " = " + value + ")");
  if (engine_.GetGlobalVariables().ContainsKey(name)) globals_.push_back(name);
}

std::string KnowledgeGenerator::WrittenFact(const TTemplate& fact_template,
                                            const std::vector<std::string>& variables) {
  std::string text = "(" + AtomToSource(fact_template.name);
  for (const TSlot& slot : fact_template.slots) {
    if (OneIn(3)) continue;
    std::string value;
    for (std::uint32_t i = slot.is_multi ? Below(4) : 1; i > 0; --i) {
      value += " ";
      value += !variables.empty() && OneIn(2) ? OneOf(variables)
               : OneIn(6)                     ? Expression(variables, 1)
                                              : Literal(slot.kind);
    }
    text += fact_template.is_ordered ? value : " (" + slot.name + value + ")";
  }
  return text + ")";
}

void KnowledgeGenerator::AddFactSet(const std::string& name) {
  std::string text = "(deffacts " + name + Comment();
  for (std::uint32_t i = Below(3) + 1; i > 0; --i) text += " " + WrittenFact(OneOf(templates_), {});
  Try(text + ")");
}

std::string KnowledgeGenerator::SlotTests(const TSlot& slot, std::vector<std::string>& variables) {
  std::string text;
  for (std::uint32_t i = slot.is_multi ? Below(3) + 1 : 1; i > 0; --i) {
    text += " ";
    const std::string known = variables.empty() ? "?" : OneOf(variables);
    const std::string own = "?n" + std::to_string(variables.size());
    switch (Below(12)) {
      case 0:
        text += Literal(slot.kind);
        break;
      case 1:
        text += "~" + Literal(slot.kind);
        break;
      case 2:
        text += Joined({Literal(slot.kind), "|", Literal(slot.kind)});
        break;
      case 3:
        text += known;
        break;
      case 4:
        text += own + "&~" + Literal(slot.kind);
        break;
      case 5:
        text += own + "&:(neq " + own + " " + Literal(slot.kind) + ")";
        break;
      case 6:
        text += slot.is_multi      ? "$?"
                : slot.kind == 'z' ? "?"
                                   : "=(nth$ 0 (create$ " + Literal(slot.kind) + "))";
        break;
      case 7:
        text += slot.is_multi && OneIn(2) ? "$?" : "?";
        break;
      case 8:
        text += Joined({OneIn(2) ? "?" : own, "&", Literal(slot.kind), "|", known});
        break;
      case 9:
        text += Joined({Literal(slot.kind), "|", known, "&~", Literal(slot.kind)});
        break;
      default:
        variables.push_back(NewVariable("?v" + std::to_string(variables.size())));
        text += variables.back();
    }
  }
  return text;
}

std::string KnowledgeGenerator::Pattern(const TTemplate& fact_template,
                                        std::vector<std::string>& variables) {
  std::string text = "(" + AtomToSource(fact_template.name);
  for (const TSlot& slot : fact_template.slots) {
    if (OneIn(2)) continue;
    const std::string tests = SlotTests(slot, variables);
    text += fact_template.is_ordered ? tests : " (" + slot.name + tests + ")";
  }
  return text + ")";
}

std::string KnowledgeGenerator::Action(const std::vector<std::string>& variables,
                                       const std::vector<std::string>& facts) {
  if (!facts.empty() && OneIn(4)) return "(retract " + OneOf(facts) + ")";
  if (!facts.empty() && OneIn(4)) {
    const TTemplate& changed = OneOf(templates_);
    std::string text = OneIn(2) ? "(modify " : "(duplicate ";
    text += OneOf(facts);
    if (!changed.slots.empty() && !changed.is_ordered) {
      const TSlot& slot = OneOf(changed.slots);
      text += " (" + slot.name + " " + Literal(slot.kind) + ")";
    }
    return text + (variables.empty() ? ")" : " " + OneOf(variables) + ")");
  }
  switch (Below(5)) {
    case 4:
      return "(printout t (gensym*) crlf)";
    case 0:
      return "(assert " + WrittenFact(OneOf(templates_), variables) + ")";
    case 1:
      return "(bind ?b " + Expression(variables, 2) + ")";
    default:
      return "(printout t " + Expression(variables, 2) + " crlf)";
  }
}

void KnowledgeGenerator::AddRule(const std::string& name) {
  std::string text = "(defrule " + AtomToSource(name) + Comment();
  text += " (declare (salience " + std::to_string(salience_++ * 3 - 20) + ")";
  if (OneIn(5)) text += " (oneshot TRUE)";
  if (OneIn(9)) text += " (enabled FALSE)";
  text += ")";
  std::vector<std::string> variables;
  std::vector<std::string> facts;
  for (std::uint32_t i = Below(4); i > 0; --i) {
    const TTemplate& fact_template = OneOf(templates_);
    if (OneIn(4)) text += "\n; of this pattern\n";
    if (fact_template.name == "test") continue;  // the word begins another element
    switch (Below(7)) {
      case 0: {
        std::vector<std::string> inside = variables;
        text += OneIn(2) ? " (not " : " (exists ";
        text += Pattern(fact_template, inside) + ")";
        break;
      }
      case 1:
        facts.push_back("?f" + std::to_string(facts.size()));
        text += " " + facts.back() + " <- " + Pattern(fact_template, variables);
        break;
      case 2:
        text +=
            Joined({" (test (eq ", Expression(variables, 1), " ", Expression(variables, 1), "))"});
        break;
      case 3:
        text += " (unique " + Pattern(fact_template, variables) + ")";
        break;
      default:
        text += " " + Pattern(fact_template, variables);
    }
  }
  text += " =>";
  for (std::uint32_t i = Below(3); i > 0; --i) text += " " + Action(variables, facts);
  Try(text + ")");
}

void KnowledgeGenerator::AddFacts() {
  if (OneIn(3)) Try("(gensym*)");
  if (OneIn(5)) Try("(set-fact-duplication FALSE)");
  for (std::uint32_t i = 0; i < (is_small_ ? 24U : 8U); ++i) {
    const TTemplate& fact_template = OneOf(templates_);
    if (OneIn(2)) {
      Try("(assert " + WrittenFact(fact_template, {}) + ")");
      continue;
    }
    // A host may put in what the language would refuse there.
    const Ref<IFactTemplate> registered = engine_.FindFactTemplate(fact_template.name);
    if (!registered) continue;
    try {
      const Ref<IFact> fact = registered->NewFact();
      for (const IFactSlot* slot : {registered->GetSlots().front().get()}) {
        if (slot->IsFuzzy()) continue;  // what is no fuzzy value has no text that gives it
        if (!slot->IsMulti()) {
          fact->SetValue(slot->GetName(), Value('*'));
          continue;
        }
        const Ref<IValueVector> list = NewVector();
        for (std::uint32_t j = Below(4); j > 0; --j) list->Add(Value('*'));
        fact->SetValue(slot->GetName(), NewList(list));
      }
      engine_.Assert(fact);
    } catch (const Exception&) {
      // A rule's test does not take the value: the fact is there all the same. A default may not
      // fit its slot: then there is none.
    }
  }
}

std::string KnowledgeGenerator::OddName(std::string_view prefix) {
  if (prefix == "temp") return OneOf(kTemplateNames);
  return prefix == "rule-" ? OneOf(kRuleNames) : "";
}

void KnowledgeGenerator::Generate() {
  is_small_ = OneIn(2);
  const auto named = [this](const char* prefix, std::uint32_t count, auto add) {
    const std::uint32_t last = Below(count) + 1;
    for (std::uint32_t i = 1; i <= last; ++i) {
      // Documents sort rules, and the order of definition decides among equal matches: a rule's odd
      // name comes before the others in both.
      const std::string odd = i == 1 && OneIn(3) ? OddName(prefix) : "";
      add(odd.empty() ? prefix + std::to_string(i) : odd);
    }
  };
  named("type-", 4, [this](const std::string& name) { AddType(name); });
  named("temp", 4, [this](const std::string& name) { AddTemplate(name); });
  if (templates_.empty()) templates_.push_back(TTemplate{"implied", true, {TSlot{"", '*', true}}});
  named("f-", 3, [this](const std::string& name) { AddFunction(name); });
  for (std::uint32_t i = Below(4); i > 0; --i) AddGlobal("*g" + std::to_string(i) + "*");
  named("set", 2, [this](const std::string& name) { AddFactSet(name); });
  named("rule-", 5, [this](const std::string& name) { AddRule(name); });
  AddFacts();
}

void KnowledgeGenerator::Change() {
  for (std::uint32_t i = Below(4) + 1; i > 0; --i) {
    switch (Below(6)) {
      case 0:
        if (!types_.empty()) AddType(std::string(OneOf(types_).name));
        break;
      case 1: {
        const TTemplate& old = OneOf(templates_);
        if (!old.is_ordered) AddTemplate(std::string(old.name));
        break;
      }
      case 2:
        AddFunction("f-late");
        break;
      case 3:
        Try("(defglobal ?*late* = " + Literal('*') + ")");
        break;
      case 4:
        engine_.GetRules().Remove("rule-1");
        break;
      default:
        AddRule("rule-9");
    }
  }
  AddFacts();
}

}  // namespace reasoner
