// How rules become nodes, and what the nodes hold and let go.

#include <map>

#include "reasoner/match/ReteNetwork.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Integrity.h"

namespace reasoner {
namespace {

class NetworkTest : public EngineTest {
 protected:
  TRule& Rule(const std::string& name) { return *engine.GetRules().Find(name); }

  // The activations as they would fire.
  std::vector<std::string> Agenda() {
    std::vector<std::string> entries;
    for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
      TActivation& activation = engine.GetActivation(i);
      entries.push_back(activation.GetRule().GetRuleName() + " " +
                        activation.GetToken()->GetToFactsString());
    }
    std::sort(entries.begin(), entries.end());
    return entries;
  }

  // Tokens in all memories; each must be 0 once every fact is gone.
  std::size_t StoredTokens() {
    std::size_t count = 0;
    for (const TReteNode* node : engine.GetReteNetwork().GetNodes()) {
      const auto* join = dynamic_cast<const TJoinNode*>(node);
      if (join == nullptr) continue;
      count += join->GetLeftMemory()->GetCount() + join->GetRightMemory()->GetCount();
    }
    return count;
  }

  void RetractAll() {
    while (engine.GetFacts().GetCount() > 0) {
      engine.RetractFact(engine.GetFacts().GetCount() / 2);
    }
  }

  using Entries = std::vector<std::string>;
};

TEST_F(NetworkTest, RulesShareRootsPatternsAndJoins) {
  Load("(defrule one (a ?x) (b ?x) => (printout t one))");
  EXPECT_EQ(Rule("one").CompileTrace, "one: +1+1+1+1+2+t");
  const std::size_t nodes = engine.GetReteNetwork().GetNodeCount();
  Load("(defrule two (a ?y) (b ?y) => (printout t two))");
  EXPECT_EQ(Rule("two").CompileTrace, "two: =1=1=2+t");
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), nodes + 1);
  Load("(defrule three (a ?y) (not (b ?y)) => (printout t three))");
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), nodes + 3) << "negated joins are never shared";
  Load("(undefrule two) (undefrule three)");
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), nodes);
  Load("(undefrule one)");
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), 0u);
}

TEST_F(NetworkTest, ALateRuleMatchesTheFactsThatAreThereAndLeavesOlderRulesAlone) {
  Load("(defrule old (a ?x) (b ?x) => ) (assert (a 1) (b 1) (a 2) (b 2))");
  int removed = 0;
  int added = 0;
  engine.OnRemoveActivation = [&](TReasoner&, std::int32_t, TActivation&) { ++removed; };
  engine.OnAddActivation = [&](TReasoner&, std::int32_t, TActivation&) { ++added; };
  Load("(defrule young (a ?x) (b ?x) (c ?x) => ) (defrule lone (b ?x) => )");
  EXPECT_EQ(removed, 0);
  EXPECT_EQ(added, 2);
  Load("(assert (c 2))");
  EXPECT_EQ(Agenda(), (Entries{"lone f-2", "lone f-4", "old f-1, f-2", "old f-3, f-4",
                               "young f-3, f-4, f-5"}));
  Load("(undefrule old)");
  EXPECT_EQ(Agenda(), (Entries{"lone f-2", "lone f-4", "young f-3, f-4, f-5"}));
  RetractAll();
  EXPECT_EQ(Agenda(), Entries{});
  EXPECT_EQ(StoredTokens(), 0u);
}

// Nodes that compare one place with many constants are looked up by these: each fact must meet the
// rules that it meets alone, in their order.
TEST_F(NetworkTest, ManyConstantsOfOnePlaceMeetWhatEachMeetsAlone) {
  const std::string preamble =
      "(deftype warmth extends (type FUZZY) (range 0 10) (values (term cool (tri 0 2 4))))"
      "(deftemplate p (slot v))";
  const std::vector<std::string> fields = {
      "0",   "a",     "\"a\"", "1", "~a", "2", "?",     "3",        "1.0", "?y&:(eq ?y 3)",
      "1|2", "~1",    "5",     "c", "-1", "4", "\"b\"", "=(+ 1 2)", "1.5", "~3",
      "d",   "\"3\"", "e|3.0", "f"};
  const std::vector<std::string> values = {
      "0", "1", "3", "1.0", "a", "e", "\"a\"", "\"3\"", "-1", "(create-fuzzy-value warmth cool)"};
  Load(preamble);
  const auto met = [](TReasoner& by, const std::string& value, bool is_ordered) {
    by.Parse(is_ordered ? "(assert (o " + value + "))" : "(assert (p (v " + value + ")))", true);
    std::vector<std::string> names;
    for (std::int32_t i = 0; i < by.GetAgendaCount(); ++i)
      names.push_back(by.GetActivation(i).GetRule().GetRuleName());
    by.RetractFact(by.GetFacts().GetCount() - 1);
    EXPECT_EQ(by.GetAgendaCount(), 0) << value;
    return names;
  };
  for (const bool is_ordered : {false, true}) {
    std::vector<std::string> rules;
    std::map<std::string, std::vector<std::string>> alone;  // by rule and value
    const auto compare = [&] {
      for (const std::string& value : values) {
        std::vector<std::string> wanted;
        for (const std::string& rule : rules) {
          const auto [known, is_new] = alone.try_emplace(rule + value);
          if (is_new) {
            TReasoner own;
            own.Parse(preamble + rule, true);
            known->second = met(own, value, is_ordered);
          }
          wanted.insert(wanted.begin(), known->second.begin(), known->second.end());
        }
        EXPECT_EQ(met(engine, value, is_ordered), wanted) << value << ", " << rules.size();
      }
    };
    for (const std::string& field : fields) {
      rules.push_back("(defrule r" + std::to_string(rules.size()) +
                      (is_ordered ? " (o " + field + ")" : " (p (v " + field + "))") + " => )");
      Load(rules.back());
      if (rules.size() % 6 == 0) compare();
    }
    while (!rules.empty()) {
      for (std::size_t i = rules.size(); i > 0; i -= std::min<std::size_t>(i, 3)) {
        const std::string& rule = rules[i - 1];
        Load("(undefrule " + rule.substr(9, rule.find(' ', 9) - 9) + ")");
        rules.erase(rules.begin() + static_cast<std::ptrdiff_t>(i) - 1);
      }
      compare();
    }
    EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), 0u);
  }
}

TEST_F(NetworkTest, ARuleThatFailsToCompileLeavesNoTrace) {
  Load("(defrule good (a ?x) => )");
  const std::size_t nodes = engine.GetReteNetwork().GetNodeCount();
  EXPECT_THROW(Load("(defrule bad (a ?x) (b ?y&:(> ?y ?unknown)) => )"), EKBException);
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), nodes);
  EXPECT_FALSE(engine.GetRules().ContainsKey("bad"));
  Load("(assert (a 1))");
  EXPECT_EQ(Agenda(), Entries{"good f-1"});
}

TEST_F(NetworkTest, NegationWithACallFollowsWhoBlocks) {
  Load("(defrule largest (n ?x) (not (n ?y&:(> ?y ?x))) => )");
  Load("(assert (n 1) (n 3) (n 2))");
  EXPECT_EQ(Agenda(), Entries{"largest f-2, f--1"});
  engine.Retract("(n 3)");
  EXPECT_EQ(Agenda(), Entries{"largest f-3, f--1"});
  Load("(assert (n 5))");
  EXPECT_EQ(Agenda(), Entries{"largest f-4, f--1"});
  RetractAll();
  EXPECT_EQ(StoredTokens(), 0u);
}

TEST_F(NetworkTest, AUniquePatternMatchesOnceForANewLeftToken) {
  engine.SetTextbookSemantics(false);
  Load("(defrule u (a) (unique (b ?x)) => ) (assert (b 1) (b 2) (a))");
  EXPECT_EQ(Agenda().size(), 1u);
  Load("(assert (b 3))");
  EXPECT_EQ(Agenda().size(), 2u) << "literally, a new right token is not limited";
  engine.SetTextbookSemantics(true);
  Load("(assert (b 4))");
  EXPECT_EQ(Agenda().size(), 1u) << "plainly, one partner at any time";
  engine.Reset();
  for (int id = 1; id <= 106; ++id) engine.Assert("(b " + std::to_string(id) + ")");
  for (int id = 1; id < 60; ++id) engine.Retract("(b " + std::to_string(id) + ")");
  Load("(assert (a))");
  EXPECT_EQ(Agenda(), (Entries{"u f-107, f-60"})) << "the first in the order of the facts";
}

TEST_F(NetworkTest, AFailingTestTellsItsMatchAndLeavesTheEngineUsable) {
  Load("(defrule r (a ?x&~0&:(> ?x 1)) => )");
  const std::string told =
      "Not a numeric type.  Value (word) is a dtAtom type in rule r, pattern (a ?x&~0&:(> ?x 1)), "
      "facts f-1";
  const auto assert_word = [this] { Load("(assert (a word))"); };
  EXPECT_EQ(FailureOf(assert_word), told);
  Load("(assert (a 2))");
  EXPECT_EQ(Agenda(), Entries{"r f-2"});
  RetractAll();
  EXPECT_EQ(Agenda(), Entries{});
  engine.SetTextbookSemantics(false);
  engine.Reset();
  const std::string literal = FailureOf(assert_word);
  EXPECT_TRUE(literal.starts_with(told + " for pattern match = Node")) << literal;
}

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

}  // namespace
}  // namespace reasoner
