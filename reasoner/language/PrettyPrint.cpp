#include "reasoner/language/PrettyPrint.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "reasoner/fuzzy/FuzzyExpression.h"
#include "reasoner/language/ClipsParser.h"
#include "reasoner/language/TextHelpers.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/membership/FuzzyText.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// Pieces.

static thread_local bool writes_escapes = false;

ScopedTextEscapes::ScopedTextEscapes(const IReasoner* engine)
    : before_(std::exchange(writes_escapes,
                            engine != nullptr && engine->GetLink()->textbook_semantics)) {}

ScopedTextEscapes::~ScopedTextEscapes() { writes_escapes = before_; }

static void AppendQuoted(std::string& source, std::string_view text) {
  source += '"';
  for (const char character : text) {
    const bool is_break = writes_escapes && (character == '\n' || character == '\t');
    if (character == '\\' || character == '"' || is_break) source += '\\';
    source += !is_break ? character : character == '\n' ? 'n' : 't';
  }
  source += '"';
}

std::string QuoteText(std::string_view text) {
  std::string source;
  AppendQuoted(source, text);
  return source;
}

std::string IndentSource(std::string_view source) {
  std::string indented;
  indented.reserve(source.size() + source.size() / 8);
  enum { kPlain, kString, kComment } state = kPlain;
  for (std::size_t i = 0; i < source.size(); ++i) {
    const char character = source[i];
    indented += character;
    if (character == '\n' && state != kString) {
      indented += IndentString;
      state = kPlain;
    } else if (state == kComment) {
      continue;
    } else if (character == '\\' && i + 1 < source.size()) {
      indented += source[++i];
    } else if (character == '"') {
      state = state == kString ? kPlain : kString;
    } else if (character == ';' && state == kPlain) {
      state = kComment;
    }
  }
  return indented;
}

// The comment that was read in front of a call or a pattern, as lines of comment.
static std::string CommentBlock(std::string_view comment) {
  std::string block;
  while (!comment.empty()) {
    const std::size_t end = comment.find_first_of("\r\n");
    const std::string_view line = Trim(comment.substr(0, end));
    if (!line.empty() && line.front() != ';') block += "; ";
    block += line;
    block += NewLineString;
    if (end == std::string_view::npos) break;
    const bool pair = comment[end] == '\r' && comment.substr(end + 1).starts_with('\n');
    comment.remove_prefix(end + (pair ? 2 : 1));
  }
  return block;
}

// Values.

static void AppendFactSource(std::string& source, const IFact& fact, bool written_slots_alone);
static void AppendCallSource(std::string& source, const IFunCall& fun_call, bool pairs);

// A fuzzy expression that waits for its variables; its brackets are no words.
static void AppendKeptSource(std::string& source, const IValueVector& list) {
  const Ref<IValueVector> written = KeptExpressionAsWritten(list);
  for (const Ref<IKBValue>& item : *written) {
    const bool is_bracket =
        item->GetDType() == dtAtom && (item->TextView() == "[" || item->TextView() == "]");
    if (is_bracket) {
      source += item->TextView();
    } else {
      AppendSource(source, *item);
    }
    source += ' ';
  }
}

static void AppendListSource(std::string& source, const IValueVector& list) {
  if (IsKeptExpression(list)) return AppendKeptSource(source, list);
  for (const Ref<IKBValue>& member : list) {
    AppendSource(source, member ? *member : *FCNil);
    source += ' ';
  }
}

static bool TakesPairs(const IFunCall& fun_call) {
  return fun_call.GetName() == "modify" || fun_call.GetName() == "duplicate";
}

void AppendSource(std::string& source, const IKBValue& value) {
  switch (value.GetDType()) {
    case dtNone:
      source += "nil";
      return;
    case dtAtom:
    case dtSlot:
    case dtMultiSlot:
      AppendAtomSource(source, value.TextView());
      return;
    case dtVariable:
      source += '?';
      AppendNameSource(source, value.TextView());
      return;
    case dtMultiVariable:
      source += "$?";
      AppendNameSource(source, value.TextView());
      return;
    case dtString:
      AppendQuoted(source, value.TextView());
      return;
    case dtFloat:
      source += FloatToSource(value.RawFloat());
      return;
    case dtFactId:
      source +=
          IntegerToText(value.RawFactId());  // facts are named by their number where text is read
      return;
    case dtList: {
      const DepthGuard guard("value");
      AppendListSource(source, *value.GetAsList());
      return;
    }
    case dtFunCall:
      if (const IFunCall* const call = value.GetAsFunCall())
        AppendCallSource(source, *call, TakesPairs(*call));
      return;
    case dtFact:
      if (const IFact* const fact = value.GetAsFact()) AppendFactSource(source, *fact, true);
      return;
    case dtFuzzy:
      source += WordsFor(*value.GetAsFuzzy(), value.GetAsFuzzy()->GetVariable());
      return;
    case dtSingletons:
      if (const ISingletonsVector* const points = value.GetAsSingletons())
        source += PrettyPrint(*points);
      return;
    default:
      value.AppendTo(source);
  }
}

std::string ValueToSource(const IKBValue& value) {
  std::string source;
  AppendSource(source, value);
  return source;
}

std::string PrettyPrint(const ISingletonsVector& singletons) {
  if (singletons.GetCount() == 0) return "";
  std::string text = "(";
  for (std::int32_t i = 0; i < singletons.GetCount(); ++i) {
    text += '(';
    AppendSource(text, *singletons.GetXValue(i));
    text += ' ';
    AppendSource(text, *singletons.GetYValue(i));
    text += ") ";
  }
  return text + ")";
}

// Calls.

// A fuzzy value where its words would be read as so many arguments: a call that gives it.
static void AppendFuzzyCall(std::string& source, const IFuzzySet& set) {
  const IFuzzyVariable* const variable = set.GetVariable();
  const std::string words = WordsFor(set, variable);
  if (variable == nullptr && words.starts_with('(') && !words.starts_with("((")) {
    source += words;  // the call that makes the shape
    return;
  }
  source += "(create-fuzzy-value ";
  AppendAtomSource(source, variable == nullptr ? std::string() : variable->GetName());
  source += ' ';
  for (std::size_t i = 0; i < words.size(); ++i) {
    // Brackets are strings among arguments.
    if (words[i] == '[') {
      source += "\"[\" ";
    } else if (words[i] == ']') {
      source += " \"]\"";
    } else {
      source += words[i];
      if (words[i] == '\\' && i + 1 < words.size()) source += words[++i];
    }
  }
  source += ')';
}

static void AppendCallSource(std::string& source, const IFunCall& fun_call, bool pairs) {
  const DepthGuard guard("function call");
  source += CommentBlock(fun_call.GetComment());
  source += '(';
  if (fun_call.GetName() == "=") {
    source += '=';
  } else {
    AppendAtomSource(source, fun_call.GetName());
  }
  for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
    const Ref<IKBValue>& argument = fun_call.GetArgument(i);
    // A pair that is written is a list; a variable may hold one.
    const bool is_pair = pairs && argument && argument->GetDType() == dtList;
    source += is_pair ? " (" : " ";
    if (argument && argument->GetDType() == dtFuzzy) {
      AppendFuzzyCall(source, *argument->GetAsFuzzy());
    } else {
      AppendSource(source, argument ? *argument : *FCNil);
    }
    if (is_pair) source += ')';
  }
  source += ')';
}

std::string PrettyPrint(const IFunCall& fun_call, bool pairs) {
  std::string source;
  AppendCallSource(source, fun_call, pairs);
  return source;
}

std::string PrettyPrint(const IFunCall& fun_call) {
  return PrettyPrint(fun_call, TakesPairs(fun_call));
}

// Facts.

// A value in its slot. A fuzzy slot may hold a value of another type, whose words it would not
// know.
static void AppendSlotSource(std::string& source, const IFactSlot& slot, const IKBValue& value) {
  if (!slot.IsFuzzy()) return AppendSource(source, value);
  if (value.GetDType() == dtFuzzy) {
    const IFuzzySet& set = *value.GetAsFuzzy();
    // A word that stands alone is a name, whatever it means among others.
    const std::string& name = set.GetGivenName();
    const bool stands_alone = !slot.IsMulti() && set.GetVariable() == slot.GetFuzzyVariable() &&
                              set.IsHeldTerm() && name != SEmptyFuzzy &&
                              !EqualsIgnoreCase(name, "nil");
    source += stands_alone ? AtomToSource(name) : WordsFor(set, slot.GetFuzzyVariable());
  } else if (value.GetDType() == dtList && !IsKeptExpression(*value.GetAsList())) {
    for (const Ref<IKBValue>& member : *value.GetAsList()) {
      AppendSlotSource(source, slot, member ? *member : *FCNil);
      source += ' ';
    }
  } else {
    AppendSource(source, value);
  }
}

static void AppendFactSource(std::string& source, const IFact& fact, bool written_slots_alone) {
  const DepthGuard guard("fact");
  source += '(';
  if (fact.GetTemplate()) {
    const IFactTemplate& fact_template = *fact.GetTemplate();
    AppendAtomSource(source, fact_template.GetTemplateName());
    for (const std::int32_t ordinal : fact_template.SortedOrdinals()) {
      if (written_slots_alone && !fact.HasValueAt(ordinal)) continue;
      const IKBValue& value = *fact.PeekAt(ordinal);
      const IFactSlot& slot = *fact_template.SlotAt(ordinal);
      if (fact_template.IsOrdered()) {
        if (value.GetDType() == dtList && value.GetAsList()->GetValueCount() == 0) continue;
        source += ' ';
        AppendSource(source, value);
        continue;
      }
      source += " (";
      AppendAtomSource(source, slot.GetName());
      source += ' ';
      // nil stands for no members at all where a list is wanted.
      if (!slot.IsMulti() || !value.IsNilLike()) AppendSlotSource(source, slot, value);
      source += ')';
    }
  }
  source += ')';
}

std::string FactToSource(const IFact& fact, bool written_slots_alone) {
  std::string source;
  AppendFactSource(source, fact, written_slots_alone);
  return source;
}

// For a comment, which ends with its line.
static std::string OnOneLine(std::string_view text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(),
      [](char character) { return static_cast<unsigned char>(character) < ' '; }, ' ');
  return line;
}

bool HasSource(const IKBValue& value) {
  switch (value.GetDType()) {
    case dtNone:
    case dtAtom:
    case dtString:
    case dtInteger:
    case dtFuzzy:
      return true;
    case dtSingletons:
      return value.GetAsSingletons() != nullptr && value.GetAsSingletons()->GetCount() > 0;
    case dtFloat:
      return std::isfinite(value.RawFloat());
    case dtList: {
      const DepthGuard guard("value");
      const IValueVector& list = *value.GetAsList();
      return std::all_of(list.begin(), list.end(),
                         [](const Ref<IKBValue>& member) { return !member || HasSource(*member); });
    }
    default:
      return false;
  }
}

// An atom that is no word of the language: what is written so is the empty one.
static bool IsNilWord(const IKBValue& value) {
  return value.GetDType() == dtAtom && value.TextView() == "nil";
}

// An argument that gives the value. Fuzzy values and points would be read as something else.
static void AppendArgument(std::string& source, const IKBValue& value) {
  const bool needs_call =
      IsNilWord(value) || value.GetDType() == dtFuzzy || value.GetDType() == dtSingletons;
  if (needs_call) {
    source += CallFor(value);
  } else {
    AppendSource(source, value);
  }
}

std::string CallFor(const IKBValue& value) {
  if (IsNilWord(value)) return "(sym-cat n il)";
  switch (value.GetDType()) {
    case dtFuzzy: {
      std::string source;
      AppendFuzzyCall(source, *value.GetAsFuzzy());
      return source;
    }
    case dtList: {
      std::string source = "(create$ ";
      for (const Ref<IKBValue>& member : *value.GetAsList()) {
        AppendArgument(source, member ? *member : *FCNil);
        source += ' ';
      }
      return source + ")";
    }
    case dtSingletons:
      return "(get-fs " + ValueToSource(value) + ")";
    case dtString:
      return "(str-cat " + ValueToSource(value) + ")";
    case dtInteger:
    case dtFloat:
      return "(+ " + ValueToSource(value) + ")";
    default:
      return "(sym-cat " + ValueToSource(value) + ")";
  }
}

// The members of a list that can be written.
static Ref<IKBValue> Writable(const IKBValue& list) {
  const Ref<IValueVector> members = NewVector();
  for (const Ref<IKBValue>& member : *list.GetAsList()) {
    if (!member || HasSource(*member)) members->Add(member);
  }
  return NewList(members);
}

static void AppendSavedValue(std::string& source, const IKBValue& value) {
  if (value.GetDType() != dtList) {
    source += IsNilWord(value) ? CallFor(value) : ValueToSource(value);
    return;
  }
  for (const Ref<IKBValue>& member : *value.GetAsList()) {
    AppendSavedValue(source, member ? *member : *FCNil);
    source += ' ';
  }
}

static void AppendSavedSlot(std::string& source, std::string& comment, const IFactSlot& slot,
                            const IKBValue& stored, bool is_ordered) {
  const Ref<const IKBValue> kept(&stored);
  const IKBValue* value = &stored;
  Ref<IKBValue> written;
  if (!HasSource(stored)) {
    comment += "; slot " + OnOneLine(slot.GetName().view()) + ": a value without text is left out" +
               std::string(NewLineString);
    if (stored.GetDType() != dtList) return;
    written = Writable(stored);
    value = written.get();
  } else if (stored.ToString().empty() &&
             (!slot.GetSlotDefault() || slot.GetSlotDefault()->ToString().empty())) {
    return;
  }
  source += ' ';
  if (!is_ordered) {
    source += '(';
    AppendAtomSource(source, slot.GetName());
    source += ' ';
  }
  const bool is_empty = slot.IsMulti() && value->IsNilLike();
  const bool is_misplaced =
      !slot.IsMulti() && value->GetDType() == dtList && !IsKeptExpression(*value->GetAsList());
  if ((is_misplaced || !slot.IsValid(value)) && !is_empty && !slot.IsFuzzy()) {
    source += CallFor(*value);
  } else if (slot.IsFuzzy() && !is_empty) {
    AppendSlotSource(source, slot, *value);
  } else if (!is_empty) {
    AppendSavedValue(source, *value);
  }
  if (!is_ordered) source += ')';
}

std::string FactToSavedSource(const IFact& fact) {
  if (!fact.GetTemplate()) Raise(SNoTemplate);
  const IFactTemplate& fact_template = *fact.GetTemplate();
  std::string comment;
  std::string source = "(" + AtomToSource(fact_template.GetTemplateName());
  for (const std::int32_t ordinal : fact_template.SortedOrdinals()) {
    if (!fact.HasValueAt(ordinal)) continue;
    AppendSavedSlot(source, comment, *fact_template.SlotAt(ordinal), *fact.PeekAt(ordinal),
                    fact_template.IsOrdered());
  }
  return comment + source + ")";
}

std::string PrettyPrint(const IFact& fact) { return FactToText(fact); }

std::string PrettyPrint(const IFact& fact, std::string_view slot_name, std::string_view text) {
  if (text.empty()) return "";
  if (!fact.GetTemplate()) Raise(SNoTemplate);
  if (fact.GetTemplate()->IsOrdered()) return std::string(text);
  std::string slot = "(";
  slot += slot_name;
  slot += ' ';
  slot += text;
  return slot + ")";
}

std::string PrettyPrint(const IFact& fact, std::string_view slot_name, const IKBValue& value) {
  return PrettyPrint(fact, slot_name, std::string_view(value.ToString()));
}

std::string PrettyPrint(const IFact& fact, std::string_view slot_name) {
  if (!fact.GetTemplate()) Raise(SNoTemplate);
  const std::int32_t ordinal = fact.GetTemplate()->OrdinalOf(slot_name);
  if (ordinal < 0) Raise(SInvalidSlotName, slot_name);
  return PrettyPrint(fact, slot_name, *fact.PeekAt(ordinal));
}

Ref<IFact> ReadFactLine(IReasoner& reasoner, const std::string& line) {
  TKitStringStream text(line);
  TKBClipsStream stream(&text, nullptr);
  TKBClipsParser parser(reasoner, &stream);
  parser.StrictFacts = true;
  parser.StaticChecks = reasoner.GetTypeChecks().Has(tcStatic);
  return parser.ParseFact();
}

// A line of a fact set: the fact as it was written. A line that has come not to fit its template is
// a comment: it is passed over by every reset, and reading it would fail.
static std::string LineSource(const TFactSet& fact_set, const TFactSet::TLine& line) {
  if (line.fact) return IndentSource(FactToSource(*line.fact, true));
  if (auto* const reasoner = dynamic_cast<IReasoner*>(fact_set.GetEngine())) {
    try {
      return IndentSource(FactToSource(*ReadFactLine(*reasoner, line.text), true));
    } catch (const EKBException&) {
      return "; does not fit: " + OnOneLine(line.text);
    }
  }
  return IndentSource(line.text);
}

std::string PrettyPrint(const TFactSet& fact_set) {
  std::string text = "(deffacts " + AtomToSource(fact_set.GetFactSetName());
  if (!fact_set.Comment.empty()) text += " " + QuoteText(fact_set.Comment);
  text += NewLineString;
  for (const TFactSet::TLine& line : fact_set.GetLines()) {
    text += IndentString;
    text += LineSource(fact_set, line);
    text += NewLineString;
  }
  return text + ")";
}

// Globals.

std::string PrettyPrint(std::string_view variable_name, const IKBValue& value) {
  if (variable_name.empty()) return "";
  std::string text = "?";
  AppendNameSource(text, variable_name.front() == '?' ? variable_name.substr(1) : variable_name);
  text += " = ";
  if (value.GetDType() != dtList) {
    AppendArgument(text, value);
    return text;
  }
  // A definition takes one value: a list is what a call makes.
  text += "(create$";
  for (const Ref<IKBValue>& member : *value.GetAsList()) {
    text += ' ';
    AppendArgument(text, member ? *member : *FCNil);
  }
  return text + ")";
}

std::string PrettyPrint(const TValueHashTable& variables) {
  std::string text = "(defglobal";
  for (const std::string& name : variables.GetKeys()) {
    const Ref<IKBValue> value = variables.Get(name);
    text += " " + PrettyPrint("?" + name, value ? *value : *FCNil);
  }
  return text + ")";
}

// Functions.

std::string PrettyPrint(const IInterpretedFunction& function) {
  std::string text = "(deffunction " + AtomToSource(function.GetFunctionName()) + " (";
  for (std::int32_t i = 0; i < function.GetArgumentCount(); ++i) {
    if (i > 0) text += ' ';
    AppendSource(text, *function.GetArgument(i));
  }
  text += ")";
  text += NewLineString;
  const std::int32_t count = function.GetStatementCount();
  // A string that begins the body would be read as the comment.
  const bool begins_with_string = count > 0 && function.GetStatement(0)->GetDType() == dtString;
  if (!function.GetComment().empty() || begins_with_string) {
    text += IndentString;
    AppendQuoted(text, function.GetComment());
    text += NewLineString;
  }
  for (std::int32_t i = 0; i < count; ++i) {
    text += IndentString;
    AppendSource(text, *function.GetStatement(i));
    text += NewLineString;
  }
  text += ")";
  text += NewLineString;
  return text;
}

std::string PrettyPrint(const IUserFunction& function) {
  if (const auto* interpreted = dynamic_cast<const IInterpretedFunction*>(&function)) {
    return PrettyPrint(*interpreted);
  }
  std::string description = function.GetComment();
  description += NewLineString;
  description += FormatText(SyntaxFormat, {GetSyntaxStatement(function)});
  const std::string line_start = ";; " + std::string(IndentString);
  std::string text = ";; " + function.GetFunctionName().str() + " function";
  text += NewLineString;
  return text + line_start +
         ReplaceAll(description, NewLineString, std::string(NewLineString) + line_start);
}

// Patterns and rules.

static void AppendTests(std::string& text, const TKBPattern& pattern, std::int32_t slot) {
  for (std::int32_t i = 0; i < pattern.GetSlotTestCount(slot); ++i) {
    const TKBPatternMatchTest& test = pattern.GetSlotTest(slot, i);
    if (i > 0) {
      const bool same_field =
          test.GetMultiSlotSubIndex() == pattern.GetSlotTest(slot, i - 1).GetMultiSlotSubIndex();
      text += !same_field ? ' ' : test.IsJoinedByAnd() ? '&' : '|';
    }
    const bool is_last = i + 1 == pattern.GetSlotTestCount(slot);
    const TKBPatternMatchTest* const next = is_last ? nullptr : &pattern.GetSlotTest(slot, i + 1);
    if (const IKBValue* const computed = next == nullptr ? nullptr : test.ComputedBy(*next)) {
      text += next->GetSlotTestType() == sttNotEquals ? "~=" : "=";
      AppendSource(text, *computed);
      ++i;
      continue;
    }
    if (test.GetSlotTestType() == sttNotEquals && !pattern.IsTest()) text += '~';
    if (test.GetSlotValue()->GetDType() == dtFunCall && !pattern.IsTest()) text += ':';
    if (test.IsWildcard()) {
      text += test.GetSlotValue()->GetDType() == dtVariable ? "?" : "$?";
    } else {
      AppendSource(text, *test.GetSlotValue());
    }
  }
}

static bool IsNegatedTest(const TKBPattern& pattern, std::int32_t slot) {
  return pattern.IsTest() && pattern.GetSlotTestCount(slot) > 0 &&
         pattern.GetSlotTest(slot, 0).GetSlotTestType() == sttNotEquals;
}

std::string PrettyPrint(const TKBPattern& written) {
  if (!written.GetFactTemplate()) Raise(SNoTemplate);
  const std::unique_ptr<TKBPattern> normal = written.Normalized(written.GetFactTemplate());
  const TKBPattern& pattern = *normal;
  std::string text = "(" + AtomToSource(pattern.GetName()) + " ";
  std::int32_t negations = pattern.GetNegatedCount();
  if (pattern.GetFactTemplate()->IsOrdered()) {
    const std::int32_t slot = pattern.IndexOfSlotName(SDefaultSlotName);
    if (slot >= 0) {
      AppendTests(text, pattern, slot);
      if (IsNegatedTest(pattern, slot)) negations = 1;
    }
  } else {
    for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
      // A multislot without fields wants an empty list.
      if (pattern.GetSlotTestCount(slot) == 0 && pattern.GetSlotLength(slot) != 0) continue;
      text += '(';
      AppendAtomSource(text, pattern.GetSlotName(slot));
      text += ' ';
      AppendTests(text, pattern, slot);
      text += ") ";
    }
  }
  text += ')';
  const auto wrap = [&text](std::string_view head) {
    text = "(" + std::string(head) + " " + text + ")";
  };
  if (pattern.IsUnique()) wrap("unique");
  if (pattern.IsExplicit()) wrap("explicit");
  if (negations == 1) wrap("not");
  if (negations >= 2) wrap("exists");
  for (; negations > 2; --negations) wrap("not");
  // The comment belongs to the outermost parenthesis: from there it is read.
  text.insert(0, CommentBlock(pattern.Comment));
  if (pattern.GetBoundName().empty()) return text;
  std::string bound = "?";
  AppendNameSource(bound, pattern.GetBoundName());
  return bound + " <- " + text;
}

std::string PrettyPrint(const TRule& rule, TRuleConstruct construct) {
  std::string text;
  if (construct == rcAction) {
    for (std::int32_t i = 0; i < rule.GetActionCount(); ++i) {
      text += IndentString;
      text += IndentSource(PrettyPrint(*rule.GetAction(i)));
      text += NewLineString;
    }
    return text;
  }
  for (std::int32_t i = 0; i < rule.GetPatternCount(); ++i) {
    if (!text.empty()) text += NewLineString;
    text += IndentString;
    text += IndentSource(PrettyPrint(rule.GetPattern(i)));
  }
  return text;
}

std::string PrettyPrint(const TRule& rule) {
  std::string text = "(defrule " + AtomToSource(rule.GetRuleName());
  const std::string line_start = std::string(NewLineString) + std::string(IndentString);
  if (!rule.Comment.empty()) text += line_start + QuoteText(rule.Comment);
  text += NewLineString;
  // An expression is evaluated again where the text is read.
  const IKBValue& salience = *rule.GetSalienceValue();
  const bool has_salience = salience.GetDType() != dtInteger || rule.GetSalience() != 0;
  // A first pattern of that name would be read as the block.
  const bool looks_declared =
      rule.GetPatternCount() > 0 && rule.GetPattern(0).GetName() == "declare";
  if (has_salience || rule.OneShot || !rule.Enabled || looks_declared) {
    text += IndentString;
    text += "(declare";
    if (has_salience) text += " (salience " + ValueToSource(salience) + ")";
    if (!rule.Enabled) text += " (enabled FALSE)";
    if (rule.OneShot) text += " (oneshot TRUE)";
    text += ")";
    text += NewLineString;
  }
  text += PrettyPrint(rule, rcPattern) + line_start + "=>";
  text += NewLineString;
  return text + PrettyPrint(rule, rcAction) + ")";
}

}  // namespace reasoner
