#include "reasoner/match/TestFailure.h"

#include "reasoner/match/JoinNode.h"
#include "reasoner/match/PatternNode.h"
#include "reasoner/match/Rule.h"
#include "reasoner/match/TerminalNode.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// Which pattern of its rule a node serves: a chain of one pattern leads to the join that adds the
// pattern, or begins the rule.
static std::int32_t PatternIndexOf(const TReteNode& node) {
  const TReteNode* item = &node;
  while (item != nullptr) {
    if (item == &node) {
      if (const auto* test = dynamic_cast<const TTestNode*>(item)) return test->GetPatternIndex();
    }
    if (item->GetEdges().empty()) return 0;
    const TReteEdge& edge = item->GetEdges().front();
    if (const auto* next = dynamic_cast<const TTestNode*>(edge.to)) {
      return edge.call_type == ctRight ? next->GetPatternIndex() : 0;
    }
    item = dynamic_cast<const TPatternMatchNode*>(edge.to);
  }
  return 0;
}

// The rule at the end of the node's first edges, or null.
static const TRule* RuleOf(const TReteNode& node) {
  const TReteNode* item = &node;
  while (!item->GetEdges().empty()) item = item->GetEdges().front().to;
  const auto* terminal = dynamic_cast<const TPatternMatchTerminalNode*>(item);
  return terminal == nullptr ? nullptr : terminal->GetRule();
}

void TellMatch(Exception& failure, const TReteNode& node, const TKBToken* left, const IFact* fact) {
  const TRule* const rule = RuleOf(node);
  if (rule == nullptr) return;
  try {
    std::string facts = left == nullptr ? std::string() : left->GetToFactsString();
    if (fact != nullptr) {
      if (!facts.empty()) facts += ", ";
      facts += "f-" + IntegerToText(fact->GetID());
    }
    const std::int32_t index = PatternIndexOf(node);
    const std::string pattern =
        index < rule->GetPlan().GetPatternCount()
            ? rule->GetPattern(rule->GetPlan().GetWrittenIndex(index)).ToString()
            : std::string();
    failure.AppendMessage(FillMessage(SInMatch, rule->GetRuleName(), pattern, facts));
  } catch (const std::exception&) {
    // The failure itself says more than what cannot be printed.
  }
}

}  // namespace reasoner
