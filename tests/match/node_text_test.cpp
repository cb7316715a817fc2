// What tokens, memories, tests and nodes say of themselves, and the settings of the network.

#include "reasoner/match/ReteNetwork.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Integrity.h"

namespace reasoner {
namespace {

class NodeTextTest : public EngineTest {
 protected:
  // The texts of the rule's nodes, in the order of use, without their numbers.
  std::vector<std::string> Nodes(const std::string& rule) {
    std::vector<std::string> texts;
    TReteNetwork& network = engine.GetReteNetwork();
    for (const TReteNode* node : *network.GetRuleNodes(*engine.GetRules().Find(rule))) {
      const std::string text = node->ToString();
      texts.push_back(text.substr(text.find(' ')));
    }
    return texts;
  }
};

TEST_F(NodeTextTest, NodesShowTheirTests) {
  Load(
      "(deftemplate p (slot x) (slot y))"
      "(defrule r (p (x a) (y ?v)) (b ?v $? ~c) (test (> ?v 1)) (not (b ?v&:(> ?v 0)))"
      " (p (x ?z) (y ~?z)) => )"
      "(assert (p (x a) (y 5)) (b 5 d))");
  const std::vector<std::string> wanted = {
      " In/Out#: 0/2 RuleUse: 2 Value: p Test: pmtTestClassType Args: (0, 0)",
      " In/Out#: 1/1 RuleUse: 1 Value: a Test: pmtTestEqual Args: (x, -1)",
      " In/Out#: 0/2 RuleUse: 2 Value: b Test: pmtTestClassType Args: (0, 0)",
      " In/Out#: 1/1 RuleUse: 1 Value:  Test: pmtTestMultiSlotMultiField Args: (__Data, 1, 0)",
      " In/Out#: 1/1 RuleUse: 1 Value:  Test: pmtTestMultiSlotLength Args: (__Data, 3, 0)",
      " In/Out#: 1/1 RuleUse: 1 Value: c Test: pmtTestMultiSlotNotEqual Args: (__Data, 2)",
      " In/Out#: 0/1 RuleUse: 1 Value: test Test: pmtUnknown Args: (0, 0)",
      " In/Out#: 0/2 RuleUse: 2 Value: b Test: pmtTestClassType Args: (0, 0)",
      " In/Out#: 1/1 RuleUse: 1 Value:  Test: pmtTestMultiSlotLength Args: (__Data, 1, 0)",
      " In/Out#: 0/2 RuleUse: 2 Value: p Test: pmtTestClassType Args: (0, 0)",
      " In/Out#: 1/1 RuleUse: 1 Value:  Test: pmtTestSlotValueNotEqual Args: (x, y, -1, -1)",
      " In/Out#: 2/1 RuleUse: 1 NumTests: 1 (= tstMultiSlot TokenIdx: 0 Left: y -1 Right: __Data 0)"
      " Left Memory: f-1\n Right Memory: f-2\n",
      " In/Out#: 2/1 RuleUse: 1 NumTests: 1 (= SubIdx: -1 Slot: (> <TBindingInfo: FactIdx=0 "
      "SlotIdx=y"
      "> 1))",
      " In/Out#: 2/1 RuleUse: 1 NumTests: 2 (= tstMultiSlot TokenIdx: 0 Left: y -1 Right: __Data 0)"
      " (= SubIdx: -1 Slot: (> <TBindingInfo: FactIdx=0 SlotIdx=y> 0)) *NEGATED* Left Memory: "
      "f-1, f-2\n Right Memory: ",
      " In/Out#: 2/1 RuleUse: 1 NumTests: 0 Left Memory: f-1, f-2, f--1\n Right Memory: f-1\n",
      " In/Out#: 1/0 RuleUse: 1 Rule: r"};
  EXPECT_EQ(Nodes("r"), wanted);
  EXPECT_EQ(engine.GetRules().Find("r")->CompileTrace, "r: +1+1+1+1+1+1+1+1+1+2+2+2+2+t");
}

TEST_F(NodeTextTest, TokensAndMemoriesListTheirFacts) {
  Load("(defrule r (a ?x) (b ?y) => ) (assert (a 1) (b 2))");
  const Ref<TKBToken>& token = engine.GetActivation(0).GetToken();
  EXPECT_EQ(token->ToString(), "taAdd cnt=2 negcnt=0\n(b 2 )\n(a 1 )");
  EXPECT_EQ(TKBToken().ToString(), "taClear cnt=0 negcnt=0\n");
  TKBTokenTree tree(3, 0, NoSubIndex, Text(), true);
  tree.Add(token);
  EXPECT_EQ(tree.GetToFactsString(), "f-1, f-2\n");
  tree.Remove(*token);
  EXPECT_EQ(tree.ToString(), "\n") << "a bucket that has been used keeps its line";
  EXPECT_EQ(tree.GetToFactsString(), "");
}

TEST_F(NodeTextTest, NewJoinsTakeTheHashKeyOfTheNetwork) {
  Load("(defrule old (a ?x) (b ?x) => )");
  engine.GetReteNetwork().SetHashKey(1);
  Load("(defrule young (a ?x) (c ?x ?y) (not (d ?y)) => )");
  for (const TReteNode* node : engine.GetReteNetwork().GetNodes()) {
    const auto* join = dynamic_cast<const TJoinNode*>(node);
    if (join == nullptr) continue;
    const bool is_old =
        engine.GetReteNetwork().GetRuleNodes(*engine.GetRules().Find("old"))->at(4) == join;
    EXPECT_EQ(join->GetHashKey(), is_old ? 101 : 1);
    EXPECT_EQ(join->GetLeftMemory()->GetHashSize(), join->GetHashKey());
  }
  Load("(assert (a 1) (a 2) (b 2) (c 1 7) (c 2 8) (d 8))");
  CheckIntegrity(engine, "one bucket");
  EXPECT_EQ(engine.GetAgendaCount(), 2);
}

TEST_F(NodeTextTest, ADisabledNetworkTakesNothingAndForgetsItsRules) {
  Load("(defrule r (a) => ) (assert (a))");
  TReteNetwork& network = engine.GetReteNetwork();
  network.SetEnabled(false);
  EXPECT_EQ(engine.GetAgendaCount(), 0);
  EXPECT_EQ(network.GetNodeCount(), 0u);
  Load("(defrule s (a) => ) (assert (a 2)) (retract 1)");
  EXPECT_EQ(network.GetNodeCount(), 0u);
  network.SetEnabled(true);
  Load("(assert (a))");
  EXPECT_EQ(engine.GetAgendaCount(), 0) << "enabling does not bring the rules back";
  Load("(defrule t (a) => )");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  Load("(undefrule r) (undefrule s)");
  CheckIntegrity(engine, "enabled again");
}

// A clear token passes every node, whatever it tests.
TEST_F(NodeTextTest, AClearTokenReachesEveryActivation) {
  Load(
      "(defrule one (test (> 2 1)) => ) (defrule two (a ?x&:(> ?x 5)) (not (b)) => )"
      "(reset) (assert (a 7))");
  EXPECT_EQ(engine.GetAgendaCount(), 2);
  engine.GetFacts().Clear();
  EXPECT_EQ(engine.GetAgendaCount(), 0);
  CheckIntegrity(engine, "cleared");
  engine.Reset();
  EXPECT_EQ(engine.GetAgendaCount(), 1);
}

}  // namespace
}  // namespace reasoner
