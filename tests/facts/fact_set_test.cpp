#include "reasoner/facts/FactSet.h"
#include "reasoner/functions/HostFunction.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class FactSetTest : public EngineTest {
 protected:
  std::string Facts() { return engine.GetFacts().GetToIDString(); }
};

TEST_F(FactSetTest, EveryResetEvaluatesTheFactsAnew) {
  Load("(deffacts start (a (gensym*)) (b (+ 1 2) ?*g*)) (defglobal ?*g* = 5)");
  engine.Reset();
  const std::string first = engine.GetFacts().Get(1)->ToString();
  EXPECT_EQ(engine.GetFacts().Get(2)->ToString(), "(b 3 5 )");
  engine.Reset();
  EXPECT_NE(engine.GetFacts().Get(1)->ToString(), first);
  EXPECT_EQ(engine.GetFactSets().GetItem(0).GetLines()[1].fact->ToString(), "(b (+ 1 2) ?*g* )")
      << "the stored fact is never asserted itself";
}

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

TEST_F(FactSetTest, AFailingCallNamesTheSetAndEndsTheReset) {
  Load("(deffacts good (a)) (deffacts bad (b (sqrt x)) (c)) (deffacts last (d))");
  const std::string message = FailureOf([&] { engine.Reset(); });
  EXPECT_EQ(message.substr(message.size() - 16), " in fact set bad") << message;
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a)");
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

TEST_F(FactSetTest, ASetMayOutliveItsEngine) {
  TFactSet set;
  set.SetFacts({"(a)"});
  {
    TReasoner other;
    set.SetEngine(&other);
  }
  EXPECT_EQ(set.GetEngine(), nullptr);
  set.Reset();
  set.SetEngine(&engine);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a)");
}

TEST_F(FactSetTest, ACopyForAnotherEngineHasThatEnginesFacts) {
  Load("(deftemplate item (slot n)) (deffacts start (item (n 1)))");
  TReasoner other;
  other.Parse("(deftemplate item (slot n))", true);
  TFactSet copy(&other);
  copy.Assign(engine.GetFactSets().GetItem(0));
  EXPECT_EQ(copy.GetFact(0)->GetTemplate().get(), other.FindFactTemplate("item").get());
  EXPECT_EQ(copy.GetFactSetName(), "start");
  other.Reset();
  EXPECT_EQ(other.GetFacts().GetToIDString(), "f-0 (Initial-Fact)\nf-1 (item (n 1))");
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
