#include <gtest/gtest.h>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class EngineFunctionsTest : public EngineTest {};

TEST_F(EngineFunctionsTest, Storage) {
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
}

TEST_F(EngineFunctionsTest, GetVarReadsAVariableByName) {
  Load("(bind ?x 5)");
  ExpectShown({
      {"(__get-var ?x)", "5"},
      {"(__get-var x)", "5"},
      {"(__get-var (sym-cat x))", "5"},
      {"(__get-var nowhere)", ""},
  });
}

TEST_F(EngineFunctionsTest, SymbolsGoUpByOneThroughResetAndClear) {
  const std::string first = Show("(gensym*)");
  ASSERT_EQ(first.substr(0, 3), "gen");
  const int number = std::stoi(first.substr(3));
  Load("(reset)");
  EXPECT_EQ(Show("(gensym*)"), "gen" + std::to_string(number + 1));
  Load("(clear)");
  EXPECT_EQ(Show("(gensym*)"), "gen" + std::to_string(number + 2));
  ExpectShown({{"(version)", "2.7000"}});
}

TEST_F(EngineFunctionsTest, WatchWords) {
  struct TRow {
    const char* word;
    TConstructWatches watches;
  };
  for (const TRow& row : {TRow{"activations", cwActivation}, TRow{"facts", cwFact},
                          TRow{"rules", cwRule}, TRow{"compilations", cwCompilation},
                          TRow{"statistics", cwStatistics}, TRow{"all", kAllWatches}}) {
    engine.Watch = {};
    ExpectShown({{std::string("(watch ") + row.word + ")", "TRUE"}});
    EXPECT_EQ(engine.Watch, row.watches) << row.word;
    engine.Watch = kAllWatches;
    ExpectShown({{std::string("(unwatch ") + row.word + ")", "TRUE"}});
    EXPECT_EQ(engine.Watch, kAllWatches - row.watches) << row.word;
  }
  ExpectError("(watch birds)", "Cannot watch birds");
  ExpectError("(unwatch birds)", "Cannot unwatch birds");
}

TEST_F(EngineFunctionsTest, RunCountsFirings) {
  Load(R"((defrule go (n ?x) => (printout t ?x " "))
          (assert (n 1) (n 2) (n 3)))");
  ExpectShown({{"(run 2)", "2"}, {"(run)", "1"}, {"(run)", "0"}});
  EXPECT_EQ(TakeOutput(), "3 2 1 ");
}

TEST_F(EngineFunctionsTest, HaltLetsTheFiringEnd) {
  Load(R"((defrule stop (n ?x) => (halt) (printout t ?x) (run))
          (assert (n 1) (n 2)))");
  ExpectShown({{"(run)", "1"}, {"(run)", "1"}});
  EXPECT_EQ(TakeOutput(), "21");
}

TEST_F(EngineFunctionsTest, ExitEndsARunWithoutAFailure) {
  Load("(defrule leave (n ?x) => (exit) (printout t never)) (assert (n 1))");
  EXPECT_THROW(engine.Run(), EAbort);
  EXPECT_EQ(TakeOutput(), "");
}

TEST_F(EngineFunctionsTest, ResetAndClear) {
  Load("(deffacts start (a)) (assert (b))");
  ExpectShown({{"(reset)", "TRUE"}});
  EXPECT_EQ(engine.GetFacts().ToString(), "(Initial-Fact)\n(a)");
  ExpectShown({{"(clear)", "TRUE"}});
  EXPECT_EQ(engine.GetFactSets().GetCount(), 0);
}

TEST_F(EngineFunctionsTest, ModifyInARuleTakesThePresentListAtEveryFiring) {
  Load(R"((deftemplate job (slot left) (multislot items))
          (defrule work
            ?f <- (job (left ?n) (items $?i))
            (test (> ?n 0))
            =>
            (modify ?f (left (- ?n 1)) (items ?i done)))
          (assert (job (left 3) (items first))))");
  ExpectShown({{"(run)", "3"}});
  EXPECT_EQ(engine.GetFacts().Get(engine.GetFacts().GetCount() - 1)->ToString(),
            "(job (items first done done done ) (left 0))");
}

}  // namespace
}  // namespace reasoner
