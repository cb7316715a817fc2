#include <gtest/gtest.h>

#include <string>

#include "reasoner/vocabulary/KBExceptions.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class ConstructFunctionsTest : public EngineTest {};

TEST_F(ConstructFunctionsTest, Listings) {
  ExpectPrinted("(list-defrules)", "for a total of 0 rules.\n");
  Load(R"((deffacts b (x)) (deffacts a (x)) (deftype t extends (type INTEGER))
          (defrule r2 (x) =>) (defrule r1 (x) =>) (defglobal ?*g* = 1) (bind ?v 1)
          (deffunction inner (?v ?w) (list-bindings)))");
  ExpectPrinted("(list-defrules)", "r1\nr2\nfor a total of 2 rules.\n");
  ExpectPrinted("(list-deftemplates)",
                "Initial-Fact\n__NOT-OR-TEST-CE*\nx\nfor a total of 3 deftemplates.\n");
  ExpectPrinted("(list-defglobals)", "*g*\nfor a total of 1 bindings.\n");
  ExpectPrinted("(list-bindings)", "*g*\nv\nfor a total of 2 bindings.\n");
  ExpectPrinted("(inner 1 2)", "*g*\nv\nv\nw\nfor a total of 4 bindings.\n");
  TakeOutput();
  Show("(list-deffunctions)");
  const std::string total = "\nfor a total of " +
                            std::to_string(engine.GetUserFunctions().GetCount()) +
                            " deffunctions.\n";
  EXPECT_TRUE(output.ends_with(total)) << output.substr(output.size() - 60);
  EXPECT_NE(output.find("\ninner\n"), std::string::npos);
}

TEST_F(ConstructFunctionsTest, Facts) {
  Load("(assert (a) (b) (c)) (retract 2) (assert (b))");
  ExpectPrinted("(facts)",
                "f-0 (Initial-Fact)\nf-1 (a)\nf-3 (c)\nf-4 (b)\nFor a total of 4 facts.\n");
  ExpectPrinted("(facts 1)", "f-1 (a)\nf-3 (c)\nf-4 (b)\nFor a total of 3 facts.\n");
  ExpectPrinted("(facts 1 3)", "f-1 (a)\nf-3 (c)\nFor a total of 2 facts.\n");
  ExpectPrinted("(facts 1 3 1)", "f-1 (a)\nFor a total of 1 facts.\n");
  ExpectPrinted("(facts 0 9 -1)", "For a total of 0 facts.\n");
}

TEST_F(ConstructFunctionsTest, Agenda) {
  ExpectPrinted("(agenda)", "for a total of 0 activations.\n");
  Load("(defrule r (a ?) =>) (assert (a 1) (a 2))");
  std::string entries;
  for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
    entries += engine.GetActivation(i).GetEntryText() + "\n";
  }
  ExpectPrinted("(agenda)", entries + "for a total of 2 activations.\n");
}

TEST_F(ConstructFunctionsTest, RulesCanGoToANamedStream) {
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

TEST_F(ConstructFunctionsTest, ParseTellsWhetherItWentWell) {
  ExpectShown({
      {"(parse \"(bind ?x 5) (deffunction g () 9)\")", "TRUE"},
      {"(+ ?x (g))", "14"},
      {"(parse \"(bind ?x 6) (/ 1 0) (bind ?x 7)\")", "FALSE"},
      {"(parse \"(((\")", "FALSE"},
      {"(+ ?x 0)", "6"},
  });
  EXPECT_THROW(Show("(parse \"(exit)\")"), EAbort);
}

TEST_F(ConstructFunctionsTest, GuardKeepsTheRuleFromActivatingItself) {
  Load(R"((deftemplate c (slot n))
          (defrule up ?c <- (c (n ?n)) => (guard (modify ?c (n (+ ?n 1)))))
          (defrule see (c (n ?n)) => (printout t ?n " ")))");
  Load("(assert (c (n 1)))");
  ExpectShown({{"(run 50)", "3"}, {"(guard 1 (+ 1 1))", "2"}});
  EXPECT_TRUE(engine.GetRules().Find("up")->Enabled);
  // Put back after a failure as well, and the rule may end meanwhile.
  Load("(defrule up (c (n ?n)) => (guard (/ 1 0)))");
  EXPECT_THROW(engine.Run(), EKBException);
  EXPECT_TRUE(engine.GetRules().Find("up")->Enabled);
  Load("(defrule up (c (n ?n)) => (guard (undefrule up)) (printout t done))");
  engine.Run();
  EXPECT_EQ(TakeOutput().substr(0, 4), "done");
  EXPECT_EQ(engine.GetRules().Find("up"), nullptr);
}

class EngineFunctionsTest : public EngineTest {};

TEST_F(EngineFunctionsTest, StorageAndSettings) {
  Load("(bind ?k key) (bind ?n nil)");
  ExpectShown({
      {"(fetch unknown)", ""},
      {"(store ?k 1)", "1"},
      {"(fetch key)", "1"},
      // The argument of fetch is a name, not an expression.
      {"(fetch ?k)", ""},
      {"(store k 2)", "2"},
      {"(fetch ?k)", "2"},
      {"(store empty ?n)", ""},
      {"(fetch empty)", ""},
  });
  EXPECT_TRUE(engine.GetEngineVariables().ContainsKey("empty"));
  ExpectShown({{"(clear-storage)", "TRUE"}, {"(fetch key)", ""}});
  ExpectShown({{"(__get-var (sym-cat k))", "key"},
               {"(set-reset-globals 5)", "5"},
               {"(set-reset-globals)", "FALSE"}});
  ExpectError("(watch birds)", "Cannot watch birds");
}

TEST_F(EngineFunctionsTest, SymbolsGoUpByOneThroughResetAndClear) {
  const std::string first = Show("(gensym*)");
  ASSERT_EQ(first.substr(0, 3), "gen");
  const int number = std::stoi(first.substr(3));
  Load("(reset)");
  EXPECT_EQ(Show("(gensym*)"), "gen" + std::to_string(number + 1));
  Load("(clear)");
  EXPECT_EQ(Show("(gensym*)"), "gen" + std::to_string(number + 2));
}

}  // namespace
}  // namespace reasoner
