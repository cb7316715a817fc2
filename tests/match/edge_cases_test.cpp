// Matches at the borders of what rules and facts can say.

#include <algorithm>

#include "reasoner/match/ReteNetwork.h"
#include "reasoner/values/ValueVector.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Integrity.h"

namespace reasoner {
namespace {

class MatchEdgeCasesTest : public EngineTest {
 protected:
  // The facts of each activation, sorted.
  std::string Matches() {
    std::vector<std::string> matches;
    for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i)
      matches.push_back(engine.GetActivation(i).GetToken()->GetToFactsString() + " ");
    std::sort(matches.begin(), matches.end());
    std::string text;
    for (const std::string& match : matches) text += match;
    return text;
  }

  // A fact whose one field is the id of a fact.
  void AssertWithId(std::string_view name, TFactId id) {
    const Ref<IFact> fact = Make<TFact>(engine.CreateFactTemplate(name));
    const Ref<IValueVector> fields = NewVector();
    fields->Add(NewFactId(id));
    fact->SetValue("__Data", NewList(fields));
    engine.Assert(fact);
  }

  struct TRow {
    std::string text;
    std::string fired;
  };
};

// What is retracted is looked up by its facts: a call that would answer otherwise by now holds
// nothing back.
TEST_F(MatchEdgeCasesTest, CallsThatChangeTheirMindKeepNothing) {
  Load(
      "(defglobal ?*limit* = 0)"
      "(defrule single (a ?x&:(> ?x ?*limit*)) => )"
      "(defrule joined (b ?x) (c ?y&:(> (+ ?x ?y) ?*limit*)) => )"
      "(defrule blocked (d ?x) (not (e ?y&:(> (+ ?x ?y) ?*limit*))) => )"
      "(defrule tested (f ?x) (test (> ?x ?*limit*)) (g ?y) => )"
      "(assert (a 1) (b 1) (c 1) (d 1) (e 1) (f 1) (g 1))");
  ASSERT_EQ(OnAgenda(), "tested joined single ");
  Load("(bind ?*limit* 50)");
  for (const auto& [fact, left] :
       {std::pair("(e 1)", "blocked tested joined single "),
        std::pair("(g 1)", "blocked joined single "), std::pair("(b 1)", "blocked single "),
        std::pair("(a 1)", "blocked "), std::pair("(d 1)", "")}) {
    engine.Retract(fact);
    EXPECT_EQ(OnAgenda(), left) << fact;
  }
}

// A rule that comes later must not hang on memories that never held what it was fed.
TEST_F(MatchEdgeCasesTest, AMemoryWithAHistoryIsNotShared) {
  Load(
      "(defglobal ?*limit* = 0) (defrule one (a :(> ?*limit* 2)) (b) => )"
      "(assert (a 3) (b)) (bind ?*limit* 5)"
      "(defrule two (a :(> ?*limit* 2)) (b) => )");
  ASSERT_EQ(OnAgenda(), "two ");
  engine.Retract("(a 3)");
  EXPECT_EQ(OnAgenda(), "");
  engine.Clear();
  engine.SetTextbookSemantics(false);
  Load(
      "(defrule one (a) (unique (b ?)) (c) => ) (assert (b 1) (b 2) (a) (c))"
      "(retract 0) (defrule two (a) (unique (b ?)) (c) => )");
  ASSERT_EQ(OnAgenda(), "two ");
  engine.Retract("(a)");
  EXPECT_EQ(OnAgenda(), "");
}

TEST_F(MatchEdgeCasesTest, ARedefinitionThatCannotBeCompiledLeavesTheOldRule) {
  Load("(defrule r (a ?x) => (printout t \"old\" ?x \" \")) (assert (a 1) (a z))");
  EXPECT_THROW(Load("(defrule r (a ?x) (b ?y&:(> ?y ?q)) => )"), EKBException);
  EXPECT_EQ(OnAgenda(), "r r ");
  // One that fails at a fact stands, with the facts that it can test.
  EXPECT_THROW(Load("(defrule r (a ?x&:(> ?x 0)) => (printout t \"new\" ?x \" \"))"), EKBException);
  EXPECT_EQ(OnAgenda(), "r ");
  // So does a rule that is read again because its template has changed, and the fact that is.
  engine.Watch = {cwCompilation};
  EXPECT_THROW(engine.Parse("(deftemplate a (multislot __Data))", true), EKBException);
  EXPECT_EQ(TakeOutput().find("Dropped"), std::string::npos);
  EXPECT_EQ(engine.GetFacts().GetCount(), 3);
  engine.Watch = {};
  Load("(assert (a 2))");
  engine.Run();
  EXPECT_EQ(TakeOutput(), "new2 new1 ");
}

// A variable that stands for a fact is that fact's id wherever else it stands.
TEST_F(MatchEdgeCasesTest, AVariableOfAFactInFields) {
  const TRow rows[] = {
      {"?x <- (a ?x)", "f-3 "},
      {"?x <- (a ~?x)", "f-2 "},
      {"?x <- (a ?y&?x)", "f-3 "},
      {"?x <- (a ?x|7)", "f-2 f-3 "},
      {"?x <- (a ?y&:(eq ?y ?x))", "f-3 "},
      {"?x <- (a ?y&~:(eq ?y ?x))", "f-2 "},
      {"(go) ?x <- (a ?x)", "f-1, f-3 "},
      {"(go) ?x <- (a ~?x)", "f-1, f-2 "},
      {"(go) ?x <- (a ?y&:(eq ?y ?x)|8)", "f-1, f-3 "},
      {"?f <- (go) (b ?f)", "f-1, f-4 "},
      {"?f <- (go) (b ~?f)", "f-1, f-5 "},
      {"?f <- (go) (b ?f|7)", "f-1, f-4 f-1, f-5 "},
      {"?f <- (go) (b ?g&:(eq ?g ?f))", "f-1, f-4 "},
      {"?f <- (go) (not (b ?f))", ""},
      {"?f <- (a ?) (not (b ?f))", "f-2, f--1 f-3, f--1 "},
      {"?f <- (a ?) (not (b ?g&:(neq ?g ?f)))", ""},
      {"?f <- (go) (unique (b ?f))", "f-1, f-4 "},
      {"?f <- (go) (exists (b ?f))", "f-1, f--1 "},
      {"(b ?f) ?f <- (go)", "f-4, f-1 "},
      {"?f <- (go) ?f <- (a ?)", ""},
  };
  for (const bool textbook : {false, true}) {
    engine.SetTextbookSemantics(textbook);
    for (const TRow& row : rows) {
      // The network's own semantics has an `exists` that sees no partner, and binds anew.
      if (!textbook &&
          (row.text.find("exists") != std::string::npos ||
           row.text.find("?f <-") != row.text.rfind("?f <-") || row.text.starts_with("(b"))) {
        continue;
      }
      engine.Clear();
      engine.Reset();
      Load("(assert (go) (a 7))");
      AssertWithId("a", engine.GetNextFactId());
      AssertWithId("b", 1);
      Load("(assert (b 7)) (defrule r " + row.text + " => )");
      EXPECT_EQ(Matches(), row.fired) << row.text << (textbook ? ", textbook" : "");
    }
  }
}

// Every host failure finds the node's work done: what a retraction has to take away is gone.
TEST_F(MatchEdgeCasesTest, AFailingHandlerOfOneActivationSparesTheOthers) {
  for (const char* rules : {"(defrule r (a) (b ?x) => ) (defrule n (c ?x) (not (a)) => )",
                            "(defrule r (b ?x) (a) => ) (defrule n (c ?x) (not (a)) => )",
                            "(defrule r (a) (b $? ?x $?) => ) (defrule n (c ?x) (not (a)) => )"}) {
    engine.Clear();
    Load(rules);
    Load("(assert (a) (b 1) (b 2) (c 1) (c 2))");
    ASSERT_EQ(OnAgenda(), "r r ") << rules;
    engine.OnAddActivation = [](TReasoner&, std::int32_t, TActivation&) {
      throw std::runtime_error("host");
    };
    engine.OnRemoveActivation = engine.OnAddActivation;
    EXPECT_THROW(engine.Retract("(a)"), std::runtime_error) << rules;
    EXPECT_EQ(OnAgenda(), "n n ") << rules;
    EXPECT_THROW(Load("(assert (a))"), std::runtime_error) << rules;
    EXPECT_EQ(OnAgenda(), "r r ") << rules;
    engine.OnAddActivation = engine.OnRemoveActivation = nullptr;
  }
}

// A test element takes no place in a match: the call behind it is the pattern's own all the same.
TEST_F(MatchEdgeCasesTest, ACallBehindATestElementDecidesBeforeTheLongestSpan) {
  Load(R"((deffunction pick () b)
          (defrule r (test (eq b b)) (w $? ~=(pick) $?) =>)
          (assert (w a b)))");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
}

// A test that raises has not passed, whatever its sense and whichever of the two comes last.
TEST_F(MatchEdgeCasesTest, WhatATestFailsAtCostsNoOtherMatch) {
  const TRow rows[] = {
      {"(a ?x) (b ?y&:(> ?y ?x))", "(a 1 )(b 2 )"},
      {"(a ?x) (b ?y&~:(> ?y ?x))", "(a 1 )(b 0 )"},
      {"(a ?x) (not (b ?y&:(> ?y (+ ?x 5))))", "(a 1 )"},
      {"(a ?x) (not (b ?y&:(> ?y ?x)))", ""},
      {"(a ?x) (not (b ?y&:(> ?y 5)))", "(a 1 )"},
      {"(a ?x) (not (b ?y&~:(< ?y 5)))", "(a 1 )"},
      {"(a ?x) (unique (b ?y&:(> ?y ?x)))", "(a 1 )(b 2 )"},
      {"(a ?x) (b ?y) (test (> ?y ?x))", "(a 1 )(b 2 )"},
      {"(a ?x) (b ?y&:(> ?y 5)|:(< ?y ?x))", "(a 1 )(b 0 )"},
      {"(a ?x) (b ?y&=(- ?y 0))", "(a 1 )(b 0 )(a 1 )(b 2 )"},
      {"(b $? ?y&:(> ?y 1) $?)", "(b 2 )"},
      {"(b ?y) (a ?x&:(> ?y ?x)) (not (b ?z&:(> ?z (* 2 ?y))))", "(b 2 )(a 1 )"},
      {"(a ?x) (exists (b ?y&:(> ?y ?x)))", "(a 1 )"},
      {"(a ?x) (not (exists (b ?y&:(> ?y (+ ?x 5)))))", "(a 1 )"},
  };
  const auto matches = [this] {
    std::vector<std::string> texts;
    for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
      const TKBToken& token = *engine.GetActivation(i).GetToken();
      std::string text;
      for (std::int32_t k = 0; k < token.GetCount(); ++k) {
        const Ref<IFact> fact = engine.GetFacts().GetFactByID(token.GetFacts(k)->GetID());
        if (fact) text += fact->ToString();
      }
      texts.push_back(text);
    }
    std::sort(texts.begin(), texts.end());
    std::string all;
    for (const std::string& text : texts) all += text;
    return all;
  };
  for (const bool textbook : {false, true}) {
    engine.SetTextbookSemantics(textbook);
    for (const TRow& row : rows) {
      if (!textbook && row.text.find("exists") != std::string::npos) continue;
      std::string steps[] = {"(assert (a 1))", "(assert (b 0))", "(assert (b 2))",
                             "(assert (b foo))", "(defrule r " + row.text + " => )"};
      std::sort(std::begin(steps), std::end(steps));
      do {
        engine.Clear();
        std::string failures;
        std::string order;
        for (const std::string& step : steps) {
          order += step;
          const std::string failure = FailureOf([&] { Load(step); });
          if (failure != "") failures += failure;
        }
        ASSERT_EQ(matches(), row.fired) << order << (textbook ? ", textbook" : "");
        // A unique pattern that has its partner asks for no other.
        const bool must_fail = row.text.find("unique") == std::string::npos;
        ASSERT_TRUE(!must_fail ||
                    failures.find("Value (foo) is a dtAtom type in rule r, pattern (") !=
                        std::string::npos)
            << order << failures;
        CheckIntegrity(engine, order);
        for (const char* fact : {"(b foo)", "(b 0)", "(b 2)", "(a 1)"}) {
          engine.Retract(fact);
          CheckIntegrity(engine, order);
        }
        ASSERT_EQ(engine.GetAgendaCount(), 0) << order;
      } while (std::next_permutation(std::begin(steps), std::end(steps)));
    }
  }
}

// Whatever class is thrown: the facts behind the one that a test fails at are asserted, too.
TEST_F(MatchEdgeCasesTest, AFailureOfAnyClassWaitsForTheFactsBehind) {
  int kind = 0;
  const auto refuse = HostFunction("refuse", [&kind] {
    if (kind == 0) throw 7;
    if (kind == 1) throw EAbort();
    if (kind == 2) throw std::runtime_error("host");
    throw EKBException("refused");
  });
  const auto raises = [&](auto operation) {
    const std::int32_t count = engine.GetFacts().GetCount();
    try {
      operation();
      ADD_FAILURE() << "nothing raised, kind " << kind;
    } catch (int number) {
      EXPECT_TRUE(kind == 0 && number == 7);
    } catch (const EAbort&) {
      EXPECT_EQ(kind, 1);
    } catch (const EKBException& failure) {
      EXPECT_EQ(kind, 3);
      EXPECT_NE(failure.GetMessage().find("refused in rule r, pattern (a ?x&:(refuse)), facts f-"),
                std::string::npos)
          << failure.GetMessage();
    } catch (const std::runtime_error&) {
      EXPECT_EQ(kind, 2);
    }
    return engine.GetFacts().GetCount() - count;
  };
  Load(
      "(defrule r (a ?x&:(refuse)) => ) (defrule s (b ?x) => )"
      "(deffacts one (a 1) (b 1)) (deffacts two (b 2))");
  TReasoner other;
  other.Parse("(assert (b 8) (a 8) (b 9))", true);
  for (kind = 0; kind < 4; ++kind) {
    engine.GetFacts().Clear();
    EXPECT_EQ(raises([&] { engine.ParseNExecuteFunCall("(assert (a 1) (b 1) (a 2) (b 2))"); }), 4);
    EXPECT_EQ(OnAgenda(), "s s ");
    EXPECT_EQ(raises([&] { Show("(assert-string \"(a 3)\" \"(b 3)\")"); }), 2);
    engine.GetFacts().Clear();
    EXPECT_EQ(raises([&] { engine.Reset(); }), 4);
    EXPECT_EQ(OnAgenda(), "s s ");
    engine.GetFacts().Clear();
    EXPECT_EQ(raises([&] { engine.GetFacts().Assign(other.GetFacts()); }), 4);
  }
}

}  // namespace
}  // namespace reasoner
