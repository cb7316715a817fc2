#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/ClipsParser.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class LifecycleTest : public EngineTest {};

TEST_F(LifecycleTest, ClearEmptiesTheKnowledgeAndKeepsTheSettings) {
  Load(R"((deftype t extends (type INTEGER)) (deftemplate item (slot n (type INTEGER)))
          (defglobal ?*g* = 1) (deffacts start (item (n 1))) (deffunction f () 1)
          (defrule r (item (n ?n)) => (printout t ?n)) (assert (item (n 5))) (bind ?free 1))");
  engine.GetEngineVariables().Put("v", NewInteger(1));
  engine.SetStrategy(ssBreadthFirst);
  engine.Clear();
  EXPECT_EQ(Facts(), "");
  EXPECT_EQ(engine.GetFactTemplates().GetNames(),
            (std::vector<std::string>{"Initial-Fact", "__NOT-OR-TEST-CE*"}));
  EXPECT_EQ(engine.GetRules().GetCount() + engine.GetFactSets().GetCount() +
                engine.GetDefinedTypes().GetCount() + engine.GetGlobalVariables().GetCount() +
                engine.GetEngineVariables().GetCount() + engine.GetAgendaCount() +
                engine.GetUserFunctions().GetInterpretedCount() +
                static_cast<std::int32_t>(engine.GetContext().GetBindings().size()),
            0);
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), 0u);
  ExpectError("(f)", "Function is unimplemented or unassigned: f");
  EXPECT_EQ(engine.GetStrategy(), ssBreadthFirst);
  EXPECT_EQ(engine.Assert("(a)"), 0) << "there is no initial fact before a reset";
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)");
  Load("(defrule later (not (b)) => (printout t later))");
  EXPECT_EQ(engine.Run(), 1) << "the new implied templates serve new rules";
}

TEST_F(LifecycleTest, ResetStartsAgainWithTheSameIds) {
  Load(R"((deffacts one (a 1)) (deffacts two (b 2)) (defglobal ?*g* = (gensym*))
          (defrule r (a ?x) => (assert (c ?x))) (defrule once (declare (oneshot TRUE)) (a ?) =>))");
  engine.Reset();
  const std::string facts = Facts();
  EXPECT_EQ(facts, "f-0 (Initial-Fact)\nf-1 (a 1 )\nf-2 (b 2 )");
  const std::string global = Show("(create$ ?*g*)");
  EXPECT_EQ(engine.Run(), 2);
  engine.Assert("(a 9)");
  EXPECT_EQ(engine.GetAgendaCount(), 1) << "a rule that fires once has fired";
  Load("(bind ?*g* 5)");
  engine.ResetGlobals = false;
  engine.Reset();
  EXPECT_EQ(Facts(), facts);
  EXPECT_EQ(engine.GetAgendaCount(), 2) << "and may fire again";
  EXPECT_EQ(Show("(create$ ?*g*)"), "5 ");
  engine.ResetGlobals = true;
  engine.Reset();
  engine.Reset();
  EXPECT_EQ(Facts(), facts);
  EXPECT_NE(Show("(create$ ?*g*)"), "5 ");
  EXPECT_NE(Show("(create$ ?*g*)"), global) << "a call is evaluated anew";
}

TEST_F(LifecycleTest, CellsAreMadeFromTextByType) {
  const auto parse = [this](const char* text, TKBType type) {
    const Ref<IKBValue> value = engine.Parse(text, type);
    EXPECT_EQ(value->GetDType(), type);
    return value->ToString();
  };
  EXPECT_EQ(parse("\"\"inner\"\"", dtString), "\"inner\"");
  EXPECT_EQ(parse("3", dtFactId), "<Fact-3>");
  EXPECT_EQ(parse("2.5", dtFloat), "2.5000");
  EXPECT_EQ(parse("x", dtMultiVariable), "$?x");
  EXPECT_EQ(parse("(a 1)", dtFact), "(a 1 )");
  EXPECT_EQ(parse("(f 1)", dtFunCall), "(f 1)");
  EXPECT_EQ(FailureOf([&] { engine.Parse("x", dtObject); }),
            "Unable to parse strings of dtObject at this time");
}

TEST_F(LifecycleTest, AFactorysPartTakesTheDefaultsPlaceAndMustBeOfItsClass) {
  class Counting : public TKBAgenda {
   public:
    explicit Counting(TReasoner* owner) : TKBAgenda(owner) {}

   protected:
    std::int32_t FindInsertion(const TActivation&) const override { return -1; }
  };
  TReasoner other(nullptr, [](TReasoner& made, TKBObjectType type) -> std::unique_ptr<TObject> {
    if (type == otAgenda) return std::make_unique<Counting>(&made);
    return nullptr;
  });
  other.Parse("(defrule r (a ?x) =>) (assert (a 1) (a 2))", true);
  EXPECT_EQ(other.GetActivation(0).GetToken()->GetToFactsString(), "f-1") << "in order of coming";
  const std::int64_t before = IInterface::LiveObjects();
  EXPECT_NE(FailureOf([] {
              TReasoner wrong(nullptr, [](TReasoner&, TKBObjectType type) {
                return type == otFacts ? std::make_unique<TObject>() : nullptr;
              });
            }),
            "");
  EXPECT_EQ(IInterface::LiveObjects(), before);
}

TEST_F(LifecycleTest, NothingReachesTheHostWhileAnEngineEnds) {
  int events = 0;
  {
    TReasoner other;
    other.Parse("(defrule r (a) =>) (assert (a)) (deffacts s (b)) (deffunction f () 1)", true);
    other.Watch = kAllWatches;
    other.OnPrintOut = [&](TReasoner&, const std::string&, const std::string&) { ++events; };
    other.OnRemoveActivation = [&](TReasoner&, std::int32_t, TActivation&) { ++events; };
    other.OnRetraction = [&](TReasoner&, const Ref<IFact>&) { ++events; };
    other.OnRemoveRule = [&](TReasoner&, TRule&) { ++events; };
    other.OnRemoveUserFunction = [&](TReasoner&, const Ref<IUserFunction>&) { ++events; };
    other.OnClear = [&](TReasoner&) { ++events; };
  }
  EXPECT_EQ(events, 0);
}

// A language in which `%` begins a comment, too.
class PercentStream final : public TKBClipsStream {
 public:
  using TKBClipsStream::TKBClipsStream;
  Ref<IStreamToken> BuildNextToken() override {
    Ref<IStreamToken> token = TKBClipsStream::BuildNextToken();
    while (token->GetText() == "%") {
      GetLine();
      token = TKBClipsStream::BuildNextToken();
    }
    return token;
  }
};

// A parser under which rules have a name of the host's.
class NamingParser final : public TKBClipsParser {
 public:
  using TKBClipsParser::TKBClipsParser;
  std::unique_ptr<TRule> ParseRule() override {
    std::unique_ptr<TRule> rule = TKBClipsParser::ParseRule();
    rule->SetRuleName("my-" + rule->GetRuleName());
    return rule;
  }
};

TEST_F(LifecycleTest, AHostBringsItsOwnTokenizerAndParser) {
  engine.SetTokenizerType([](TStream& stream, const TEncoding* encoding) {
    return std::make_unique<PercentStream>(&stream, encoding);
  });
  engine.SetParserType([](TReasoner& own) { return std::make_unique<NamingParser>(own); });
  Load("(defrule r % a remark ) ( \n (a ?x) => (printout t % another\n ?x))");
  EXPECT_EQ(engine.GetRules().GetNames(), std::vector<std::string>{"my-r"});
  TReasoner copy;
  copy.Assign(engine);
  copy.Parse("(defrule s % here, too\n =>)", true);
  EXPECT_EQ(copy.GetRules().GetNames(), (std::vector<std::string>{"my-my-r", "my-s"}));
  engine.SetTokenizerType(nullptr);
  EXPECT_NE(FailureOf([&] { engine.Parse("(defrule t % no remark\n =>)", true); }), "");
}

TEST_F(LifecycleTest, ARuleIsPutTogetherFromTexts) {
  auto rule = std::make_unique<TRule>(&engine);
  rule->SetRuleName("made");
  TVariableTable variables;
  engine.ParseRulePatterns(*rule, variables, "(a ?x) ?f <- (b ?x)");
  EXPECT_TRUE(variables.Contains("x"));
  engine.ParseRuleActions(*rule, variables, "(retract ?f) (printout t ?x)");
  engine.GetRules().Add(std::move(rule));
  Load("(assert (a 1) (b 1))");
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_EQ(TakeOutput(), "1");
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);
}

}  // namespace
}  // namespace reasoner
