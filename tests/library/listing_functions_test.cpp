#include <gtest/gtest.h>

#include <memory>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class ListingFunctionsTest : public EngineTest {
 protected:
  void ExpectPrinted(const std::string& call, const std::string& text) {
    TakeOutput();
    Show(call);
    ASSERT_EQ(printed.size(), 1u) << call;
    EXPECT_EQ(printed[0].first, "t") << call;
    EXPECT_EQ(printed[0].second, text) << call;
  }
};

TEST_F(ListingFunctionsTest, Facts) {
  Load("(assert (a) (b) (c)) (retract 2) (assert (b))");
  ExpectPrinted("(facts)",
                "f-0 (Initial-Fact)\nf-1 (a)\nf-3 (c)\nf-4 (b)\nFor a total of 4 facts.\n");
  ExpectPrinted("(facts 1)", "f-1 (a)\nf-3 (c)\nf-4 (b)\nFor a total of 3 facts.\n");
  ExpectPrinted("(facts 1 3)", "f-1 (a)\nf-3 (c)\nFor a total of 2 facts.\n");
  ExpectPrinted("(facts 1 9 1)", "f-1 (a)\nFor a total of 1 facts.\n");
  ExpectPrinted("(facts 9)", "For a total of 0 facts.\n");
  ExpectPrinted("(facts 0 9 -1)", "For a total of 0 facts.\n");
}

TEST_F(ListingFunctionsTest, Agenda) {
  ExpectPrinted("(agenda)", "for a total of 0 activations.\n");
  Load("(defrule r (a ?) =>) (assert (a 1) (a 2))");
  std::string entries;
  for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
    entries += engine.GetActivation(i).GetEntryText() + "\n";
  }
  ExpectPrinted("(agenda)", entries + "for a total of 2 activations.\n");
}

TEST_F(ListingFunctionsTest, RulesCanGoToANamedStream) {
  ExpectPrinted("(rules)", "For a total of 0 rules.\n");
  Load("(defrule b (a $?x) =>) (defrule a (a $?x) =>)");
  auto memory = std::make_unique<TKitStringStream>();
  TKitStringStream& stream = *memory;
  engine.GetIOStreams().Add("log", std::make_unique<TGTextStream>(std::move(memory)));
  TakeOutput();
  ExpectShown({{"(rules log)", "TRUE"}, {"(rules)", "TRUE"}});
  engine.GetIOStreams().Flush();
  EXPECT_EQ(stream.GetText(), output);
  EXPECT_LT(output.find("(defrule a"), output.find("(defrule b"));
  EXPECT_NE(output.find("\nFor a total of 2 rules.\n"), std::string::npos);
}

TEST_F(ListingFunctionsTest, QuestionsAndRemoval) {
  Load(R"((deftemplate t1 (slot a)) (defrule r1 (t1) =>) (deffacts s1 (t1)) (defglobal ?*g* = 1)
          (deffunction f1 () 1) (bind ?v 1))");
  ExpectShown({
      {"(is-binding v)", "TRUE"},
      {"(is-binding w)", "FALSE"},
      {"(is-deftype r1)", "FALSE"},
      {"(is-deffunction f1)", "TRUE"},
      {"(is-deffunction r1)", "FALSE"},
      {"(is-defglobal *g*)", "TRUE"},
      {"(is-defglobal v)", "FALSE"},
      {"(is-defrule r1)", "TRUE"},
      {"(is-deffacts s1)", "TRUE"},
      {"(is-deffacts t1)", "FALSE"},
      {"(is-deftemplate t1)", "TRUE"},
      {"(undefrule r1)", "TRUE"},
      {"(undefrule r1)", "FALSE"},
      {"(is-defrule r1)", "FALSE"},
  });
}

TEST_F(ListingFunctionsTest, ARuleMayRemoveItself) {
  Load("(defrule once (a ?x) => (undefrule once) (printout t ?x)) (assert (a 1) (a 2))");
  ExpectShown({{"(run)", "1"}, {"(is-defrule once)", "FALSE"}});
  EXPECT_EQ(TakeOutput(), "2");
}

}  // namespace
}  // namespace reasoner
