// Knowledge bases survive every road that text and engine offer: random ones are printed, saved,
// loaded and copied, and nothing of them changes.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/values/Constants.h"
#include "tests/support/Grammar.h"

namespace reasoner {
namespace {

std::string Document(TReasoner& engine) {
  std::string text = engine.GetExpertSystem();
  const std::size_t date = text.find("; Created: ");
  text.erase(date, text.find('\n', date) - date);
  // What cannot be kept is told of by a comment, which is not kept either.
  for (const char* note : {"\n   ; slot ", "\n   ; does not fit: "}) {
    for (std::size_t at = text.find(note); at != std::string::npos; at = text.find(note, at))
      text.erase(at, text.find('\n', at + 1) - at);
  }
  return text;
}

// A rule that cannot test a fact says so, but both are there: what follows looks for them.
template <class TStep>
void Try(TStep step) {
  try {
    step();
  } catch (const Exception&) {
  }
}

// Every fact with the type and the exact text of each value, sorted.
std::vector<std::string> FactDump(TReasoner& engine) {
  std::vector<std::string> dump;
  for (const Ref<IFact>& fact : engine.GetFacts().Snapshot()) {
    std::string text = fact->GetTemplate()->GetTemplateName();
    for (const std::int32_t ordinal : fact->GetTemplate()->SortedOrdinals()) {
      const IKBValue* value = fact->PeekAt(ordinal);
      text += " | ";
      if (value == nullptr) continue;
      text += std::string(GetKBTypeName(value->GetDType())) + " " + ValueToSource(*value);
    }
    dump.push_back(text);
  }
  std::sort(dump.begin(), dump.end());
  return dump;
}

// Which partner a unique pattern takes depends on what was there when it took it.
bool HasUnique(const TRule& rule) {
  for (std::int32_t i = 0; i < rule.GetPatternCount(); ++i) {
    if (rule.GetPattern(i).IsUnique()) return true;
  }
  return false;
}

// What waits to fire: rules and the facts that they match, without the ids of these, sorted.
std::vector<std::string> AgendaDump(TReasoner& engine) {
  std::vector<std::string> dump;
  for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
    const TActivation& activation = engine.GetActivation(i);
    if (HasUnique(activation.GetRule())) continue;
    std::string text = activation.GetRule().GetRuleName();
    const TKBToken& token = *activation.GetToken();
    for (std::int32_t place = 0; place < token.GetCount(); ++place) {
      const IFact* const fact = token.GetFacts(place);
      text += " | " + (fact == nullptr ? std::string() : FactToSource(*fact, false));
    }
    dump.push_back(text);
  }
  std::sort(dump.begin(), dump.end());
  return dump;
}

// What a reset and some steps show, failures included.
std::string Trace(TReasoner& engine, TSearchStrategy strategy) {
  std::string trace;
  engine.OnPrintOut = [&trace](TReasoner&, const std::string&, const std::string& text) {
    trace += text;
  };
  engine.SetStrategy(strategy);
  engine.Watch = {cwRule, cwFact};
  engine.SetSymbolIndex(100000);  // the same names from here on
  for (int step = 0; step < 12; ++step) {
    try {
      if (step == 0) engine.Reset();
      engine.Run(3);
    } catch (const Exception& failure) {
      const std::string what = failure.what();  // nodes have other numbers there
      trace += "raised: " + what.substr(0, what.find(" for pattern match")) + "\n";
    }
  }
  engine.Watch = {};
  engine.OnPrintOut = nullptr;
  return trace;
}

// Runs a text; what the engine refuses is no part of the knowledge base, and another is tried.
void Add(TReasoner& engine, Grammar::Drawing& drawing, const std::string& symbol,
         const std::string& word) {
  for (int tries = 0; tries < 8; ++tries) {
    try {
      engine.Parse(drawing.Expand(symbol, word), true);
      return;
    } catch (const Exception&) {
    }
  }
}

// A host may put in what the language would refuse there.
void AddHostsFacts(TReasoner& engine, Grammar::Drawing& drawing) {
  for (const Ref<IFactTemplate>& fact_template : engine.GetFactTemplates().GetItems()) {
    Try([&] {
      const Ref<IFactSlot> slot = fact_template->GetSlots().at(0);
      if (slot->IsFuzzy()) return;  // what is no fuzzy value has no text that gives it
      const Ref<IFact> fact = fact_template->NewFact();
      const Ref<IKBValue> value =
          engine.ParseNExecuteFunCall("(nth$ 0 (create$ " + drawing.Expand("x") + "))");
      const Ref<IValueVector> list = NewVector();
      for (std::uint32_t i = drawing.Below(4); i > 0; --i)
        list->Add(engine.ParseNExecuteFunCall("(nth$ 0 (create$ " + drawing.Expand("x") + "))"));
      fact->SetValue(slot->GetName(), slot->IsMulti() ? NewList(list) : value);
      engine.Assert(fact);
    });
  }
}

void Generate(TReasoner& engine, std::uint32_t seed, bool changes) {
  static const Grammar kGrammar = [] {
    std::ifstream file(REASONER_SOURCE_DIR "/tests/roundtrip/knowledge.grammar");
    return Grammar(file);
  }();
  Grammar::Drawing drawing(kGrammar, seed);
  for (const char* kind : {"a", "s", "i", "f", "n", "l", "x"}) Add(engine, drawing, "typed", kind);
  for (const char* symbol : {"setting", "fuzzy", "setting"}) Add(engine, drawing, symbol, "z");
  const struct {
    const char* symbol;
    std::uint32_t least, more;
  } constructs[] = {{"sub", 0, 2},      {"template", 3, 1}, {"template-child", 0, 1},
                    {"function", 1, 2}, {"global", 0, 4},   {"set", 1, 1},
                    {"rule", 1, 5},     {"facts", 4, 16}};
  for (const auto& [symbol, least, more] : constructs) {
    const std::uint32_t last = least + drawing.Below(more + 1);
    for (std::uint32_t i = 1; i <= last; ++i) Add(engine, drawing, symbol, std::to_string(i));
  }
  AddHostsFacts(engine, drawing);
  for (std::uint32_t i = changes ? 1 + drawing.Below(4) : 0; i > 0; --i)
    Add(engine, drawing, "change", "0");
  if (changes) Add(engine, drawing, "facts", "0");
}

class RoundTripTest : public ::testing::TestWithParam<int> {};

TEST_P(RoundTripTest, NothingIsLost) {
  for (int i = 0; i < 25; ++i) {
    const auto seed = static_cast<std::uint32_t>(GetParam() * 25 + i);
    SCOPED_TRACE("seed " + std::to_string(seed));
    const bool plain = seed % 4 != 3;  // the meaning of rules is no part of a document
    TReasoner engine;
    engine.SetTextbookSemantics(plain);
    engine.OnPrintOut = [](TReasoner&, const std::string&, const std::string&) {};
    const bool changes = seed % 2 == 1;
    Generate(engine, seed, changes);
    engine.OnPrintOut = nullptr;
    const std::string document = Document(engine);

    TReasoner loaded;
    loaded.SetTextbookSemantics(plain);
    loaded.Clear();
    Try([&] { loaded.Parse(engine.GetExpertSystem(), true); });
    ASSERT_EQ(Document(loaded), document);
    ASSERT_EQ(FactDump(loaded), FactDump(engine)) << document;
    ASSERT_EQ(AgendaDump(loaded), AgendaDump(engine)) << document;

    TReasoner copy;
    Try([&] { copy.Assign(engine); });
    ASSERT_EQ(Document(copy), document);
    ASSERT_EQ(FactDump(copy), FactDump(engine)) << document;
    ASSERT_EQ(AgendaDump(copy), AgendaDump(engine)) << document;

    const TSearchStrategy strategy = seed % 3 == 0 ? ssBreadthFirst : ssDepthFirst;
    const std::string trace = Trace(loaded, strategy);
    if (!changes) {
      ASSERT_EQ(trace, Trace(engine, strategy)) << document;
      ASSERT_EQ(trace, Trace(copy, strategy)) << document;
    } else {
      // The order of definition decides among equal matches: the second engine has the document's.
      TReasoner again;
      again.SetTextbookSemantics(plain);
      again.Clear();
      Try([&] { again.Parse(document, true); });
      ASSERT_EQ(trace, Trace(again, strategy)) << document;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Random, RoundTripTest, ::testing::Range(0, 40));

}  // namespace
}  // namespace reasoner
