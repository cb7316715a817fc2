#include "reasoner/match/Token.h"

#include <gtest/gtest.h>

#include "reasoner/match/TokenTree.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

class TokenTest : public ::testing::Test {
 protected:
  TokenTest() : fact_template(Make<TFactTemplate>(nullptr, "a")) {
    fact_template->AddSlot("x", NewInteger(0));
    fact_template->AddMultiSlot("l", NewList(NewVector()));
  }

  Ref<IFact> MakeFact(std::int32_t id, std::int32_t x = 0) {
    Ref<IFact> fact = Make<TFact>(fact_template);
    fact->SetID(id);
    fact->SetValue("x", NewInteger(x));
    return fact;
  }
  Ref<TKBToken> Chain(const std::vector<std::int32_t>& ids) {
    Ref<TKBToken> token = Make<TKBToken>(taAdd, MakeFact(ids[0]));
    for (std::size_t i = 1; i < ids.size(); ++i) token = Make<TKBToken>(token, MakeFact(ids[i]));
    return token;
  }

  Ref<IFactTemplate> fact_template;
};

TEST_F(TokenTest, EqualityIsTheChainOfIdsAndTheStrengths) {
  const Ref<TKBToken> token = Chain({1, 10});
  EXPECT_TRUE(token->Equals(*Chain({1, 10})));
  EXPECT_EQ(token->GetSortCode(), Chain({2, 2})->GetSortCode())
      << "the case is to be one of equal codes";
  EXPECT_FALSE(token->Equals(*Chain({2, 2})));
  EXPECT_FALSE(token->Equals(*Chain({10})));
  const Ref<TKBToken> weak = Chain({1, 10});
  weak->SetStrength(0.5F);
  EXPECT_FALSE(token->Equals(*weak));
  EXPECT_TRUE(token->EqualsFacts(*weak));
  const Ref<TKBToken> removal = Chain({1, 10});
  removal->SetTag(taRemove);
  EXPECT_TRUE(token->Equals(*removal));
}

TEST_F(TokenTest, LongChainsWrapAndAreFreedWithoutDeepRecursion) {
  Ref<TKBToken> token = Chain({1});
  for (std::int32_t i = 0; i < 300'000; ++i) token = Make<TKBToken>(token, MakeFact(i));
  EXPECT_EQ(token->GetFacts(0)->GetID(), 1);
  token = nullptr;
}

TEST_F(TokenTest, ATreeHoldsNoTwoEqualTokens) {
  TKBTokenTree tree(101, 0, NoSubIndex, Text(), false);
  EXPECT_EQ(tree.GetHighestBucket(), -1);
  EXPECT_EQ(tree.GetLowestBucket(), 102);
  EXPECT_NE(tree.Add(Chain({5})), nullptr);
  EXPECT_EQ(tree.Add(Chain({5})), nullptr);
  EXPECT_NE(tree.Add(Chain({106})), nullptr) << "another token of the same bucket";
  EXPECT_EQ(tree.GetCount(), 2u);
  EXPECT_TRUE(tree.Remove(*Chain({5})));
  EXPECT_FALSE(tree.Remove(*Chain({5})));
  EXPECT_TRUE(tree.Remove(*Chain({106})));
  EXPECT_FALSE(tree.IsCleared());
  EXPECT_EQ(tree.GetHighestBucket(), 5);
  tree.Clear();
  EXPECT_TRUE(tree.IsCleared());
  EXPECT_EQ(tree.GetHighestBucket(), -1);
}

TEST_F(TokenTest, TokensOfOneKeyStandInTheOrderOfTheirArrival) {
  TKBTokenTree tree(7, 0, NoSubIndex, "x", false);
  for (const std::int32_t id : {4, 2, 9, 1, 6}) {
    tree.Add(Make<TKBToken>(taAdd, MakeFact(id, id % 2)));
  }
  const auto ids_with = [&tree](std::int32_t x) {
    std::vector<TFactId> ids;
    const auto key = TokenKeyOf(NewInteger(x).get());
    for (auto* entry = tree.FirstWithKey(key); entry != nullptr; entry = entry->group_next) {
      ids.push_back(entry->token->GetFactID());
    }
    return ids;
  };
  EXPECT_EQ(ids_with(0), (std::vector<TFactId>{4, 2, 6}));
  EXPECT_EQ(ids_with(1), (std::vector<TFactId>{9, 1}));
  EXPECT_EQ(ids_with(2), (std::vector<TFactId>{}));
  EXPECT_TRUE(tree.Remove(*Make<TKBToken>(taRemove, MakeFact(2, 0))));
  EXPECT_EQ(ids_with(0), (std::vector<TFactId>{4, 6}));
}

TEST_F(TokenTest, TheMostNegativeKeyHasABucket) {
  TKBTokenTree tree(101, -1, NoSubIndex, Text(), true);
  const Ref<TKBToken> token =
      Make<TKBToken>(taAdd, MakeFact(std::numeric_limits<std::int32_t>::min()));
  const TKBTokenTree::Entry* entry = tree.Add(token);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->bucket, static_cast<std::int32_t>(2147483648u % 101));
}

}  // namespace
}  // namespace reasoner
