// Whether an engine is sound: what its parts say of each other agrees.

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

#include "reasoner/engine/Reasoner.h"

namespace reasoner {

// Adds a failure for each thing that does not agree, with `when` in front of it.
inline void CheckFacts(TReasoner& engine, const std::string& when) {
  TFacts& facts = engine.GetFacts();
  for (std::int32_t i = 0; i < facts.GetCount(); ++i) {
    const Ref<IFact>& fact = facts.Get(i);
    EXPECT_TRUE(facts.Lists(*fact)) << when << ": fact " << i;
    EXPECT_EQ(facts.FindFact(fact->GetID()), i) << when << ": by id";
    EXPECT_EQ(facts.IndexOf(*fact), i) << when << ": by identity";
    if (!engine.GetFactDuplication()) {
      // Facts that became equal while that was allowed stay.
      const std::int32_t found = facts.FindFact(*fact);
      EXPECT_TRUE(found >= 0 && facts.Get(found)->EqualsFact(*fact)) << when << ": by content";
    }
  }
}

inline void CheckAgenda(TReasoner& engine, const std::string& when) {
  std::unordered_set<const TActivation*> waiting;
  for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
    TActivation& activation = engine.GetActivation(i);
    waiting.insert(&activation);
    EXPECT_NE(activation.GetNode(), nullptr) << when << ": entry " << i << " has no node";
    if (engine.SalienceEvaluation == sActivate && i > 0) {
      EXPECT_GE(engine.GetActivation(i - 1).GetRule().GetSalience(),
                activation.GetRule().GetSalience())
          << when << ": order of salience at " << i;
    }
  }
  std::size_t listed = 0;
  for (const TReteNode* node : engine.GetReteNetwork().GetNodes()) {
    const auto* terminal = dynamic_cast<const TPatternMatchTerminalNode*>(node);
    if (terminal == nullptr) continue;
    EXPECT_EQ(engine.GetRules().Find(terminal->GetRule()->GetRuleName()), terminal->GetRule())
        << when << ": a node of no rule";
    for (const TActivation* item = terminal->GetFirstActivation(); item != nullptr;
         item = TPatternMatchTerminalNode::GetNextActivation(*item)) {
      ++listed;
      EXPECT_TRUE(waiting.count(item) != 0 || item == engine.GetCurrentActivation())
          << when << ": a listed activation does not wait: " << item->ToString();
    }
  }
  if (engine.GetCurrentActivation() == nullptr) {
    EXPECT_EQ(listed, waiting.size()) << when;
  }
}

// Every token in a memory rests on listed facts, and a negated join counts exactly what blocks.
inline void CheckMemories(TReasoner& engine, const std::string& when) {
  const auto check_tree = [&](const TKBTokenTree& tree) {
    for (std::int32_t bucket = 0; bucket < tree.GetHashSize(); ++bucket) {
      for (const auto* entry = tree.FirstInBucket(bucket); entry != nullptr;
           entry = entry->bucket_next) {
        for (const TKBToken* token = entry->token.get(); token != nullptr;
             token = token->GetParent().get()) {
          if (token->GetFactID() == -1) continue;  // the marker of a negated pattern
          EXPECT_GE(engine.GetFacts().FindFact(token->GetFactID()), 0)
              << when << ": a token of a fact that is gone: " << entry->token->GetToFactsString();
        }
      }
    }
  };
  for (const TReteNode* node : engine.GetReteNetwork().GetNodes()) {
    const auto* join = dynamic_cast<const TJoinNode*>(node);
    if (join == nullptr) continue;
    const TKBTokenTree& left = *join->GetLeftMemory();
    const TKBTokenTree& right = *join->GetRightMemory();
    check_tree(left);
    check_tree(right);
    if (!join->IsNegatedPattern()) continue;
    for (std::int32_t bucket = 0; bucket < left.GetHashSize(); ++bucket) {
      for (const auto* entry = left.FirstInBucket(bucket); entry != nullptr;
           entry = entry->bucket_next) {
        std::int32_t blockers = 0;
        bool has_calls = false;
        for (std::int32_t other = 0; other < right.GetHashSize(); ++other) {
          for (const auto* item = right.FirstInBucket(other); item != nullptr;
               item = item->bucket_next) {
            bool passes =
                !join->ComparesChains() || entry->token->EqualsFacts(*item->token->GetParent());
            for (std::int32_t t = 0; t < join->GetTestCount(); ++t) {
              const auto* test = dynamic_cast<const TKBJoinTest*>(&join->GetTest(t));
              if (test == nullptr) {
                has_calls = true;
              } else {
                passes = passes && test->Compare(*entry->token, *item->token->GetFact());
              }
            }
            blockers += passes ? 1 : 0;
          }
        }
        if (has_calls) blockers = static_cast<std::int32_t>(entry->blockers.size());
        EXPECT_EQ(entry->token->GetNegatedCount(), blockers)
            << when << ": " << entry->token->GetToFactsString();
      }
    }
  }
}

inline void CheckIntegrity(TReasoner& engine, const std::string& when) {
  CheckFacts(engine, when);
  CheckAgenda(engine, when);
  CheckMemories(engine, when);
}

}  // namespace reasoner
