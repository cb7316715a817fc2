#include <gtest/gtest.h>

#include <string>

#include "reasoner/vocabulary/KBExceptions.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class ConstructFunctionsTest : public EngineTest {
 protected:
  void ExpectPrinted(const std::string& call, const std::string& text) {
    TakeOutput();
    ExpectShown({{call, ""}});
    ASSERT_EQ(printed.size(), 1u) << call;
    EXPECT_EQ(printed[0].second, text) << call;
  }
};

TEST_F(ConstructFunctionsTest, Listings) {
  ExpectPrinted("(list-defrules)", "for a total of 0 rules.\n");
  Load(R"((deffacts b (x)) (deffacts a (x)) (deftype t extends (type INTEGER))
          (defrule r2 (x) =>) (defrule r1 (x) =>) (defglobal ?*g* = 1) (bind ?v 1)
          (deffunction inner (?v ?w) (list-bindings)))");
  ExpectPrinted("(list-defrules)", "r1\nr2\nfor a total of 2 rules.\n");
  ExpectPrinted("(list-deffacts)", "a\nb\nfor a total of 2 deffacts.\n");
  ExpectPrinted("(list-deftypes)", "t\nfor a total of 1 deftypes.\n");
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

TEST_F(ConstructFunctionsTest, PrintedFormsReadBack) {
  Load(R"((deffacts a (x)) (deftype t extends (type INTEGER)) (deftemplate p (slot s (type t)))
          (defrule r (x) => (assert (y))) (deffunction f (?v) (+ ?v 1)))");
  for (const char* name : {"facts a", "type t", "template p", "rule r", "function f"}) {
    const std::string printed_form = Show("(ppdef" + std::string(name) + ")");
    engine.Parse(printed_form, true);
    EXPECT_EQ(Show("(ppdef" + std::string(name) + ")"), printed_form);
  }
  ExpectShown({{"(get-type (ppdefrule r))", "dtAtom"}});
  EXPECT_NE(Show("(ppdeffunction sqrt)").find("syntax: (sqrt"), std::string::npos);
  ExpectError("(ppdefrule z)", "Unknown rule name: z");
  ExpectError("(ppdeftemplate z)", "Unknown fact template name: z");
  ExpectError("(ppdeffacts z)", "Unknown fact set name: z");
  ExpectError("(ppdeffunction no-such)", "Unknown user function name: no-such");
  ExpectError("(ppdeftype z)", "Unknown defined type name: z");
}

TEST_F(ConstructFunctionsTest, RemovingTakesDependentsAlong) {
  Load(R"((deftype t extends (type INTEGER)) (deftemplate p (slot s (type t))) (deffacts a (p))
          (defrule r (p) =>) (assert (p (s 1))) (deffunction f () 1))");
  ExpectShown({
      {"(undeffacts a)", "TRUE"},
      {"(undeffacts a)", "FALSE"},
      {"(undeffunction f)", "TRUE"},
      {"(undeffunction f)", "FALSE"},
      {"(undeftype t)", "TRUE"},
      {"(undeftype t)", "FALSE"},
      {"(is-deftemplate p)", "FALSE"},
      {"(undeftemplate p)", "FALSE"},
      {"(is-defrule r)", "FALSE"},
  });
  EXPECT_EQ(engine.GetFacts().GetCount(), 1);
  ExpectError("(f)", "Function is unimplemented or unassigned: f");
  Load("(deffunction gone () (undeffunction gone) 7)");
  ExpectShown({{"(gone)", "7"}, {"(is-deffunction gone)", "FALSE"}});
}

TEST_F(ConstructFunctionsTest, Settings) {
  ExpectShown({
      {"(set-static-constraint-checking FALSE)", "TRUE"},
      {"(set-static-constraint-checking anything)", "FALSE"},
      {"(get-static-constraint-checking)", "FALSE"},
      {"(set-dynamic-constraint-checking TRUE)", "FALSE"},
      {"(get-dynamic-constraint-checking)", "TRUE"},
      {"(set-static-constraint-checking TRUE)", "FALSE"},
      {"(get-static-constraint-checking)", "TRUE"},
      {"(set-reset-globals 5)", "5"},
      {"(set-reset-globals)", "FALSE"},
      {"(set-reset-globals TRUE)", "TRUE"},
      {"(set-reset-globals)", "TRUE"},
  });
}

TEST_F(ConstructFunctionsTest, ParseTellsWhetherItWentWell) {
  ExpectShown({
      {"(parse \"(bind ?x 5) (deffunction g () 9)\")", "TRUE"},
      {"(+ ?x (g))", "14"},
      {"(parse \"(bind ?x 6) (/ 1 0) (bind ?x 7)\")", "FALSE"},
      {"(parse \"(((\")", "FALSE"},
      {"(parse \"\")", "TRUE"},
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

}  // namespace
}  // namespace reasoner
