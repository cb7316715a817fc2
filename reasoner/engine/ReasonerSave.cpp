// Saving: the knowledge base as a document of the rule language.
//
// A document is source text: loading is parsing, and there is no other format. It is a head, with
// numbers and settings, and the sections of a table. Definitions come
// before what uses them: types, templates, functions, rules, fact sets, facts. Globals come first,
// but one whose value needs a function that is written in the language, a type or a template comes
// behind the functions.

#include <algorithm>
#include <ctime>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/support/LocalTime.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/WholeFile.h"
#include "reasoner/values/Constants.h"

namespace reasoner {

static constexpr std::string_view kStars = "; *************************";

static std::string Line(std::string_view text) {
  std::string line(text);
  line += NewLineString;
  return line;
}

static std::string DateLine() {
  const std::tm now = LocalTime(std::time(nullptr));
  char text[40];
  const std::size_t size = std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &now);
  return Line("; Created: " + std::string(text, size));
}

// Globals.

namespace {

// The globals of an engine in an order in which they can be defined again: each behind those that
// its value reads.
class GlobalOrder {
 public:
  explicit GlobalOrder(TReasoner& engine) : engine_(engine), names_(Names(engine)) {
    for (const std::string& name : names_) Visit(name);
  }

  const std::vector<std::string>& GetNames() const noexcept { return sorted_; }
  // Whether the value reaches what is defined behind the globals.
  bool IsLate(const std::string& name) const { return late_.count(name) != 0; }

 private:
  static bool IsText(const IKBValue& value) {
    return TKBTypes{dtAtom, dtString}.Has(value.GetDType());
  }
  static std::vector<std::string> Names(TReasoner& engine) {
    return engine.GetGlobalVariables().GetKeys();
  }

  void Visit(const std::string& name) {
    const DepthGuard guard("global variable");
    if (!visited_.insert(name).second) return;
    if (const Ref<IKBValue> value = engine_.GetGlobalVariables().Get(name))
      VisitValue(name, *value);
    sorted_.push_back(name);
  }

  void VisitValue(const std::string& name, const IKBValue& value) {
    const DepthGuard guard("value");
    switch (value.GetDType()) {
      case dtVariable:
      case dtMultiVariable: {
        const std::string read(value.TextView());
        if (!engine_.GetGlobalVariables().ContainsKey(read)) return;
        Visit(read);
        if (IsLate(read)) late_.insert(name);
        return;
      }
      case dtFunCall: {
        const IFunCall& call = *value.GetAsFunCall();
        const Ref<IUserFunction> function = engine_.GetUserFunction(call.GetName());
        if (const auto* interpreted = dynamic_cast<const IInterpretedFunction*>(function.get())) {
          late_.insert(name);
          VisitFunction(name, *interpreted);
        }
        for (std::int32_t i = 0; i < call.GetArgumentCount(); ++i) {
          if (!call.GetArgument(i)) continue;
          const IKBValue& argument = *call.GetArgument(i);
          if (IsText(argument) && engine_.FindDefinedType(argument.TextView())) late_.insert(name);
          VisitValue(name, argument);
        }
        return;
      }
      case dtFact:
        late_.insert(name);
        return;
      case dtFuzzy:
        // Printed as a call that names the type.
        if (value.GetAsFuzzy()->GetVariable() != nullptr) late_.insert(name);
        return;
      case dtList:
        for (const Ref<IKBValue>& member : *value.GetAsList()) {
          if (member) VisitValue(name, *member);
        }
        return;
      default:
        return;
    }
  }

  // The globals that a body reads come first, too.
  void VisitFunction(const std::string& name, const IInterpretedFunction& function) {
    if (!functions_.insert(&function).second) return;
    for (std::int32_t i = 0; i < function.GetStatementCount(); ++i)
      VisitValue(name, *function.GetStatement(i));
  }

  TReasoner& engine_;
  std::unordered_set<const IInterpretedFunction*> functions_;
  std::vector<std::string> names_;
  std::vector<std::string> sorted_;
  std::unordered_set<std::string> visited_;
  std::unordered_set<std::string> late_;
};

}  // namespace

std::vector<std::string> TReasoner::GlobalsInOrder() { return GlobalOrder(*this).GetNames(); }

// The sections of the document.

namespace {

// What is empty has no section.
using SectionBody = std::optional<std::string>;

struct Section {
  std::string_view title;
  SectionBody (*body)(TReasoner& engine);
  std::string_view counted =
      {};  // what the document's head calls the number of things; none if empty
  std::int32_t (*count)(TReasoner& engine) = nullptr;
};

SectionBody Body(std::string_view text) {
  std::string body(NewLineString);
  body += text;
  return body;
}

template <class TItems>
SectionBody BodyOf(const TItems& items) {
  if (items.GetCount() == 0) return std::nullopt;
  return Body(items.ToString());
}

SectionBody Globals(TReasoner& engine, bool late) {
  const GlobalOrder order(engine);
  TValueHashTable variables;
  for (const std::string& name : order.GetNames()) {
    if (order.IsLate(name) == late) variables.Put(name, engine.GetGlobalVariables().Get(name));
  }
  if (variables.GetCount() == 0) return std::nullopt;
  return Body(engine.PrettyPrint(variables));
}

// Where a setting has no function that could have changed it, it is as in any engine.
bool SetsAutoTerms(TReasoner& engine) {
  return engine.ContainsUserFunction("set-fuzzy-auto-terms");
}

// Types are to have the terms that they have here: some are read while the setting is off.
bool TypesLackAutoTerms(TReasoner& engine) {
  if (!SetsAutoTerms(engine) || !engine.FuzzyAutoTerms) return false;
  const auto& types = engine.GetDefinedTypes().GetItems();
  return std::any_of(types.begin(), types.end(), [](const Ref<IKBDefinedType>& type) {
    const Ref<IFuzzyVariable> variable = type->GetFuzzyType();
    return variable && !variable->HasAutoTerms();
  });
}

SectionBody Types(TReasoner& engine) {
  SectionBody body = BodyOf(engine.GetDefinedTypes());
  if (body && TypesLackAutoTerms(engine)) *body += Line("(set-fuzzy-auto-terms TRUE)");
  return body;
}

SectionBody Templates(TReasoner& engine) {
  SectionBody body = BodyOf(engine.GetFactTemplates());
  for (const Ref<IFactTemplate>& item : engine.GetFactTemplates().GetItems()) {
    const std::string& name = item->GetTemplateName();
    if (item->IsBackwardChaining() && !name.starts_with(SBackChainPrefix))
      *body += Line("(do-backward-chaining " + AtomToSource(name) + ")");
  }
  return body;
}

SectionBody Functions(TReasoner& engine) {
  if (engine.GetUserFunctions().GetCount() == 0) return std::nullopt;
  return engine.GetUserFunctions().ToString();
}

SectionBody Facts(TReasoner& engine) {
  if (engine.GetFacts().GetCount() == 0) return std::nullopt;
  std::string text = Line("(assert");
  for (const Ref<IFact>& fact : engine.GetFacts().Snapshot()) {
    text += IndentString;
    text += Line(IndentSource(FactToSavedSource(*fact)));
  }
  return Body(text + Line(")"));
}

// In the order of the document. A new kind of construct is a row, with its grammar and its
// registry.
constexpr Section kSections[] = {
    {"; Global Variables ", [](TReasoner& engine) { return Globals(engine, false); },
     "Global Variables: ",
     [](TReasoner& engine) { return engine.GetGlobalVariables().GetCount(); }},
    {"; Defined Types ", Types,
     "Defined Types:    ", [](TReasoner& engine) { return engine.GetDefinedTypes().GetCount(); }},
    {"; Fact Templates ", Templates,
     "Fact Templates:   ", [](TReasoner& engine) { return engine.GetFactTemplates().GetCount(); }},
    {"; Deffunctions ", Functions},
    {"; Global Variables ", [](TReasoner& engine) { return Globals(engine, true); }},
    {"; Rules ", [](TReasoner& engine) { return BodyOf(engine.GetRules()); },
     "Rules:            ", [](TReasoner& engine) { return engine.GetRules().GetCount(); }},
    {"; Fact Sets ", [](TReasoner& engine) { return BodyOf(engine.GetFactSets()); },
     "Fact Sets:        ", [](TReasoner& engine) { return engine.GetFactSets().GetCount(); }},
    {"; Facts ", Facts,
     "Facts:            ", [](TReasoner& engine) { return engine.GetFacts().GetCount(); }},
};

}  // namespace

std::string TReasoner::GetExpertSystem() {
  const ScopedTextEscapes escapes(this);
  const ScopedOperation operation(*this);
  std::string text = Line(kStars);
  text += Line("; Reasoner v" + FormatText("%.4f", {double{version_}}) + " Output");
  text += DateLine();
  for (const Section& section : kSections) {
    if (section.count == nullptr) continue;
    text +=
        Line("; Number of " + std::string(section.counted) + IntegerToText(section.count(*this)));
  }
  // The setting tells whether duplicates are refused, the property whether they are allowed.
  text += Line(fact_duplication_ ? "(set-fact-duplication FALSE)" : "(set-fact-duplication TRUE)");
  if (saved_symbol_index_ > 0 && ContainsUserFunction("setgen"))
    text += Line("(setgen " + IntegerToText(saved_symbol_index_) + ")");
  if (SetsAutoTerms(*this) && (!FuzzyAutoTerms || TypesLackAutoTerms(*this)))
    text += Line("(set-fuzzy-auto-terms FALSE)");
  for (const Section& section : kSections) {
    const SectionBody body = section.body(*this);
    if (!body) continue;
    text += NewLineString;
    text += Line(kStars);
    text += Line(section.title);
    text += *body;
  }
  return text;
}

static std::string Encoded(const std::string& text, const TEncoding* encoding) {
  TKitStringStream stream;
  WritePreambleToStream(stream, encoding);
  WriteStringToStream(stream, text, encoding);
  return stream.GetText();
}

void TReasoner::SaveToStream(TStream& stream, const TEncoding* encoding) {
  stream.Write(Encoded(GetExpertSystem(), encoding));
}

// Every file is made in memory first: a failure on the way leaves the old one. What waits for a
// stream on the same file is in it before.
template <class TSave>
static void SaveWhole(TReasoner& engine, const std::string& file_name, TSave save) {
  engine.FlushStreams();
  TKitStringStream stream;
  save(stream);
  WriteFileWhole(file_name, stream.GetText());
}

void TReasoner::SaveToFile(const std::string& file_name, const TEncoding* encoding) {
  SaveWhole(*this, file_name, [&](TStream& stream) { SaveToStream(stream, encoding); });
}

// One kind.

template <class TItems, class TPrint>
static void SaveLines(const TReasoner& engine, TStream& stream, const TEncoding* encoding,
                      const TItems& items, TPrint print) {
  const ScopedTextEscapes escapes(&engine);
  std::string text;
  for (const auto& item : items) text += Line(print(item));
  stream.Write(Encoded(text, encoding));
}

void TReasoner::SaveRules(TStream& stream, const TEncoding* encoding) {
  SaveLines(*this, stream, encoding, rules_->GetItems(),
            [](const TRule* rule) { return rule->ToString(); });
}

void TReasoner::SaveFactTemplates(TStream& stream, const TEncoding* encoding) {
  SaveLines(*this, stream, encoding, fact_templates_->GetParentsFirst(),
            [](const Ref<IFactTemplate>& item) { return item->ToString(); });
}

void TReasoner::SaveDefinedTypes(TStream& stream, const TEncoding* encoding) {
  SaveLines(*this, stream, encoding, defined_types_->GetAncestorsFirst(),
            [this](const Ref<IKBDefinedType>& type) { return PrettyPrint(*type); });
}

void TReasoner::SaveFacts(TStream& stream, const TEncoding* encoding) {
  SaveLines(*this, stream, encoding, facts_->Snapshot(),
            [](const Ref<IFact>& fact) { return FactToSavedSource(*fact); });
}

void TReasoner::SaveFacts(TStream& stream, std::string_view template_name,
                          const TEncoding* encoding) {
  std::vector<Ref<IFact>> facts = facts_->Snapshot();
  const auto others =
      std::remove_if(facts.begin(), facts.end(), [template_name](const Ref<IFact>& fact) {
        return fact->GetTemplate()->GetTemplateName() != template_name;
      });
  facts.erase(others, facts.end());
  SaveLines(*this, stream, encoding, facts,
            [](const Ref<IFact>& fact) { return FactToSavedSource(*fact); });
}

void TReasoner::SaveRules(const std::string& file_name, const TEncoding* encoding) {
  SaveWhole(*this, file_name, [&](TStream& stream) { SaveRules(stream, encoding); });
}

void TReasoner::SaveFactTemplates(const std::string& file_name, const TEncoding* encoding) {
  SaveWhole(*this, file_name, [&](TStream& stream) { SaveFactTemplates(stream, encoding); });
}

void TReasoner::SaveDefinedTypes(const std::string& file_name, const TEncoding* encoding) {
  SaveWhole(*this, file_name, [&](TStream& stream) { SaveDefinedTypes(stream, encoding); });
}

void TReasoner::SaveFacts(const std::string& file_name, const TEncoding* encoding) {
  SaveWhole(*this, file_name, [&](TStream& stream) { SaveFacts(stream, encoding); });
}

void TReasoner::SaveFacts(const std::string& file_name, std::string_view template_name,
                          const TEncoding* encoding) {
  SaveWhole(*this, file_name, [&](TStream& stream) { SaveFacts(stream, template_name, encoding); });
}

}  // namespace reasoner
