// What an engine and its host have made is gone when both let go of it.

#include "reasoner/functions/UserPackage.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

struct TLife {
  const char* name;
  std::function<void(TReasoner& engine)> live;
};

void PrintTo(const TLife& life, std::ostream* out) { *out << life.name; }

void Do(TReasoner& engine, const char* text) { engine.Parse(text, true); }

class LiveObjectsTest : public ::testing::TestWithParam<TLife> {};

TEST_P(LiveObjectsTest, NothingIsLeftWhenTheEngineIsGone) {
  const std::int64_t before = IInterface::LiveObjects();
  for (int i = 0; i < 2; ++i) {
    TReasoner engine;
    GetParam().live(engine);
  }
  EXPECT_EQ(IInterface::LiveObjects(), before);
}

TEST_P(LiveObjectsTest, AClearedEngineHoldsWhatANewOneHolds) {
  TReasoner engine;
  engine.Clear();
  const std::int64_t before = IInterface::LiveObjects();
  for (int i = 0; i < 2; ++i) {
    engine.SetFactDuplication(false);
    GetParam().live(engine);
    engine.Clear();
    engine.SetPackages(kAllPackages);
    EXPECT_EQ(IInterface::LiveObjects(), before);
  }
}

const TLife kLives[] = {
    {"Nothing", [](TReasoner&) {}},
    {"RulesAndFacts",
     [](TReasoner& engine) {
       Do(engine, R"((deftemplate item (slot n (default-dynamic (gensym*))) (multislot tags))
                     (defrule r ?f <- (item (n ?n) (tags $?a x $?b)) (not (seen ?n)) =>
                       (assert (seen ?n)) (modify ?f (tags $?a $?b)) (bind ?list (create$ ?n ?f)))
                     (deffacts start (item (tags a x b x)) (item (tags x))))");
       engine.Reset();
       engine.Run(3);
     }},
    {"RecursiveFunctions",
     [](TReasoner& engine) {
       Do(engine, R"((deffunction even (?n) (if (= ?n 0) then TRUE else (odd (- ?n 1))))
                     (deffunction odd (?n) (if (= ?n 0) then FALSE else (even (- ?n 1))))
                     (deffunction self (?n) (if (> ?n 0) then (self (- ?n 1))))
                     (even 10) (self 10))");
     }},
    {"Redefinitions",
     [](TReasoner& engine) {
       Do(engine, R"((deftype t extends (type INTEGER)) (deftemplate item (slot n (type t)))
                     (deffunction f (?x) (f ?x)) (defrule r (item (n ?x)) => (f ?x))
                     (deffacts s (item (n 1))) (defglobal ?*g* = (create$ 1 2))
                     (assert (item (n 2)))
                     (deftype t extends (type FLOAT)) (deftemplate item (slot m))
                     (deffunction f (?x) ?x) (defrule r (item (m ?x)) => (f ?x))
                     (deffacts s (item (m 1))) (defglobal ?*g* = 3))");
       engine.Reset();
       engine.Run();
     }},
    {"FailingActions",
     [](TReasoner& engine) {
       Do(engine, R"((deffunction deep (?n) (deep (create$ ?n)))
                     (defrule r (a ?x) => (assert (b (create$ ?x))) (try (sqrt no) except 1)
                       (if (= ?x 2) then (deep 1) else (sqrt no)))
                     (assert (a 1) (a 2) (a 3)))");
       for (int i = 0; i < 3; ++i) {
         EXPECT_NE(FailureOf([&] { engine.Run(); }), "");
       }
       EXPECT_NE(FailureOf([&] { Do(engine, "(defrule broken (a ?x) => (f"); }), "");
       EXPECT_NE(FailureOf([&] { Do(engine, "(deftemplate (slot a"); }), "");
       EXPECT_NE(FailureOf([&] { Do(engine, "(assert (c (sqrt no)))"); }), "");
     }},
    {"FactsOfFacts",
     [](TReasoner& engine) {
       Ref<IFact> inner = engine.ParseFact("(a 1)");
       for (int i = 0; i < 10000; ++i) {
         const Ref<IFact> outer = engine.ParseFact("(a)");
         outer->SetValue("__Data", NewList(NewVector()));
         outer->GetValue("__Data")->GetAsList()->Add(NewFactValue(inner));
         inner = outer;
       }
     }},
    {"AFiringThatClears",
     [](TReasoner& engine) {
       Do(engine,
          "(defrule r (a ?x) => (clear) (assert-string \"(left 1)\")) (assert (a 1) (a 2))");
       engine.Run();
     }},
    {"DuplicatesAndStrategies",
     [](TReasoner& engine) {
       engine.SetFactDuplication(true);
       Do(engine, "(defrule r (a ?x) (a ?y) =>) (assert (a 1) (a 1) (a 2))");
       engine.SetStrategy(ssBreadthFirst);
       engine.SalienceEvaluation = sEveryTime;
       engine.Run(2);
       engine.SetStrategy(ssDepthFirst);
       engine.SalienceEvaluation = sActivate;
       engine.Retract(1);
     }},
};

INSTANTIATE_TEST_SUITE_P(Lives, LiveObjectsTest, ::testing::ValuesIn(kLives),
                         [](const ::testing::TestParamInfo<TLife>& life) {
                           return std::string(life.param.name);
                         });

TEST(LiveObjectsOfHostsTest, WhatAHostKeepsBeyondTheEngineGoesWithTheHost) {
  const std::int64_t before = IInterface::LiveObjects();
  {
    Ref<IFunCall> call;
    Ref<IFact> fact;
    Ref<IKBValue> value;
    Ref<IFactTemplate> item;
    Ref<IUserFunction> function;
    Ref<TKBToken> token;
    TUserFunction host;
    TUserPackage package;
    TFactSet set;
    TRule rule;
    {
      TReasoner engine;
      Do(engine, R"((deftemplate item (slot n)) (deffunction f (?x) (f (create$ ?x)))
                    (defrule r (item (n ?x)) =>) (assert (item (n 1))))");
      call = engine.ParseFunCall("(f (f 1))");
      fact = engine.GetFacts().GetFactByID(1);
      value = engine.ParseNExecuteFunCall("(create$ (create$ 1) (assert (item (n 2))))");
      item = engine.FindFactTemplate("item");
      function = engine.GetUserFunction("f");
      token = engine.GetActivation(0).GetToken();
      host.SetFunctionName("host");
      host.SetEngine(&engine);
      package.SetEngine(&engine);
      set.SetFacts({"(item (n 5))"});
      set.SetEngine(&engine);
      rule.SetRuleName("hosts");
      rule.SetEngine(&engine);
    }
    EXPECT_EQ(fact->ToString(), "(item (n 1))");
    EXPECT_EQ(token->GetToFactsString(), "f-2");
    EXPECT_EQ(item->NewFact()->ToString(), "(item)");
    EXPECT_EQ(function->GetReasonerCount(), 0);
    EXPECT_GT(IInterface::LiveObjects(), before);
  }
  EXPECT_EQ(IInterface::LiveObjects(), before);
}

}  // namespace
}  // namespace reasoner
