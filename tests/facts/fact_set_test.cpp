#include "reasoner/facts/FactSet.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class FactSetTest : public EngineTest {};

TEST_F(FactSetTest, ASetIsFilledWithLinesBeforeItHasAnEngine) {
  TFactSet set;
  set.SetFacts({"(a 1)", "(b"});
  EXPECT_EQ(set.GetFact(0).get(), nullptr);
  EXPECT_NE(FailureOf([&] { set.SetEngine(&engine); }), "no failure");
  TFactSet good;
  good.SetFactSetName("good");
  good.SetFacts({"(a 1)"});
  good.SetEngine(&engine);
  EXPECT_EQ(good.GetLines()[0].fact->ToString(), "(a 1 )");
  EXPECT_NE(FailureOf([&] { good.SetFacts({"(c 1)", "(d"}); }), "no failure");
  EXPECT_EQ(good.GetCount(), 1) << "a line that does not parse changes nothing";
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a 1 )");
  good.SetEngine(nullptr);
  EXPECT_EQ(good.GetLines()[0].fact.get(), nullptr);
  EXPECT_EQ(FailureOf([&] { good.GetFact(1); }), "List index out of bounds (1)");
}

TEST_F(FactSetTest, ALineThatNoLongerParsesIsPassedOverByAReset) {
  TFactSet set(&engine);
  set.SetFacts({"(a 1)"});
  set.AddFact(engine.ParseFact("(b 2)"));
  TFactSet late;
  late.SetFacts({"(broken", "(c 3)"});
  late.SetFactSetName("late");
  late.SetEngineNoParse(&engine);
  engine.GetFactSets().Add(late);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a 1 )\nf-2 (b 2 )\nf-3 (c 3 )");
}

TEST_F(FactSetTest, AFailingCallNamesTheSetAndCostsItsOwnFactAlone) {
  Load("(deffacts good (a)) (deffacts bad (b (sqrt x)) (c)) (deffacts last (d))");
  const std::string message = FailureOf([&] { engine.Reset(); });
  EXPECT_EQ(message.substr(message.size() - 16), " in fact set bad") << message;
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a)\nf-2 (c)\nf-3 (d)");
}

TEST_F(FactSetTest, ASecondSetOfAHeldNameTakesThePlaceOfTheFirst) {
  TFactSet first;
  first.SetFacts({"(a)"});
  first.SetEngine(&engine);
  {
    TFactSet second;
    second.SetFacts({"(b)"});
    second.SetEngine(&engine);
    EXPECT_EQ(first.GetEngine(), nullptr);
    engine.Reset();
    EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (b)");
  }
  EXPECT_EQ(engine.GetFactSets().GetCount(), 0) << "a host's set leaves when it dies";
  Load("(deffacts x (c))");
  Load("(deffacts x (d))");
  EXPECT_EQ(engine.GetFactSets().GetCount(), 1);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (d)");
}

TEST_F(FactSetTest, ASetMayBeRemovedWhileItIsReset) {
  Load("(deffacts one (a) (b)) (deffacts two (c))");
  engine.OnAssertion = [this](TReasoner&, const Ref<IFact>& fact) {
    if (fact->GetTemplate()->GetTemplateName() != "a") return;
    engine.GetFactSets().Clear();
  };
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a)");
  EXPECT_EQ(engine.GetFactSets().GetCount(), 0);
}

}  // namespace
}  // namespace reasoner
