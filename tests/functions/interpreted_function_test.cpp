#include "reasoner/functions/HostFunction.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class InterpretedFunctionTest : public EngineTest {};

TEST_F(InterpretedFunctionTest, LiterallyAnArgumentSeesTheFormalsBoundBeforeIt) {
  engine.SetTextbookSemantics(false);
  Load("(deffunction inner (?x ?y) ?y) (deffunction outer (?x) (inner 9 ?x))");
  EXPECT_EQ(Show("(outer 1)"), "9");
}

TEST_F(InterpretedFunctionTest, FormalsHideGlobalsAndCallersInsideTheFunctionOnly) {
  Load(R"((defglobal ?*g* = 1) (bind ?x outer)
          (deffunction f (?x) (bind ?x (+ ?x 1)) ?x)
          (deffunction g () (bind ?*g* 5) (bind ?local 7) ?*g*))");
  ExpectShown({{"(f 1)", "2"}, {"(create$ ?x)", "outer "}, {"(g)", "5"}, {"(create$ ?*g*)", "5 "}});
  ExpectError("(create$ ?local)", "local");
}

TEST_F(InterpretedFunctionTest, EachActivationHasAFrameOfItsOwn) {
  Load(R"((deffunction factorial (?n)
            (bind ?before ?n)
            (bind ?rest (if (<= ?n 1) then 1 else (factorial (- ?n 1))))
            (if (neq ?before ?n) then broken else (* ?n ?rest))))");
  EXPECT_EQ(Show("(factorial 6)"), "720");
  Load("(deffunction down (?n) (if (= ?n 0) then 0 else (+ 1 (down (- ?n 1)))))");
  EXPECT_EQ(Show("(down 100)"), "100");
  Load("(deffunction forever (?n) (forever (+ ?n 1)))");
  EXPECT_NE(FailureOf([&] { Show("(forever 0)"); }), "no failure");
  EXPECT_EQ(Show("(down 10)"), "10") << "and the engine goes on after too deep a call";
}

TEST_F(InterpretedFunctionTest, AFailureLeavesTheCallersFrameAsItWas) {
  Load(
      "(deffunction bad (?x) (bind ?x 2) (sqrt no))"
      "(deffunction caller (?x) (try (bad 1) except 0) ?x)");
  ExpectError("(bad 1)", "Not a numeric type");
  EXPECT_EQ(Show("(caller 5)"), "5");
  EXPECT_EQ(engine.GetContext().FindBinding("x"), nullptr);
  EXPECT_FALSE(engine.GetContext().HasReturnValue());
}

TEST_F(InterpretedFunctionTest, AFunctionThatIsRemovedOrReplacedFinishesWhatItRuns) {
  std::string text;
  const auto host = HostFunction("host", [&] {
    if (text.empty()) {
      engine.GetUserFunctions().Remove("f");
    } else {
      engine.Parse(text, true);
    }
  });
  Load("(deffunction f (?x) (host) (create$ old ?x))");
  text = "(deffunction f (?x) (create$ new ?x))";
  EXPECT_EQ(Show("(f 1)"), "old 1 ");
  EXPECT_EQ(Show("(f 1)"), "new 1 ");
  Load("(deffunction f (?x) (host) (create$ old ?x))");
  text.clear();
  EXPECT_EQ(Show("(f 2)"), "old 2 ");
  ExpectError("(f 2)", "Function is unimplemented or unassigned: f");
}

TEST_F(InterpretedFunctionTest, AFunctionIsBuiltByHand) {
  const Ref<TInterpretedFunction> function = Make<TInterpretedFunction>("twice");
  function->AddArgument("x", dtVariable);
  function->AddStatement(engine.ParseFunCall("(+ ?x ?x)"));
  engine.AddUserFunction(function);
  EXPECT_EQ(Show("(twice 4)"), "8");
  EXPECT_EQ(function->GetMaxArgumentCount(), 1);
  function->AddArgument("rest", dtMultiVariable);
  EXPECT_EQ(function->GetMaxArgumentCount(), kNoArgumentLimit);
  EXPECT_EQ(Show("(twice 4 5)"), "8");

  const Ref<TInterpretedFunction> named = Make<TInterpretedFunction>("named");
  named->AddArgument("skipped", dtAtom);
  named->AddArgument("x", dtVariable);
  named->AddStatement(engine.ParseFunCall("(create$ ?x ?skipped)"));
  engine.AddUserFunction(named);
  EXPECT_EQ(Show("(named (undefined-function) 2)"), "2  ") << "an atom's argument is not evaluated";
  ExpectError("(named 1)", "Too few arguments for named");
}

}  // namespace
}  // namespace reasoner
