#include <gtest/gtest.h>

#include "reasoner/functions/HostFunction.h"
#include "reasoner/support/Numbers.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class MultifieldFunctionsTest : public EngineTest {};

TEST_F(MultifieldFunctionsTest, BuildingAndReading) {
  ExpectShown({
      {"(create$)", ""},
      // Nothing is flattened.
      {"(length$ (create$ a (create$ b c)))", "2"},
      {"(length$ (create$))", "0"},
      {"(nth$ 1 (create$ a b))", "b"},
      {"(member$ b (create$ a b b))", "1"},
      {"(member$ z (create$ a b))", "FALSE"},
      {"(member$ 1 (create$ 1.0 1))", "1"},
      {"(first$ (create$))", ""},
      {"(rest$ (create$))", ""},
  });
  ExpectError("(nth$ 2 (create$ a b))", "List index out of bounds (2)");
  ExpectError("(nth$ -1 (create$ a b))", "List index out of bounds (-1)");
}

TEST_F(MultifieldFunctionsTest, Changing) {
  ExpectShown({
      {"(insert$ (create$ a b) 1 x y)", "a y x b "},
      {"(insert$ (create$ a b) 2 x)", "a b x "},
      {"(replace$ (create$ a b c) 1 9 x)", "a x "},
      {"(delete$ (create$ a b c) 0 1)", "c "},
      {"(delete$ (create$ a b c) 5 9)", "a b c "},
  });
  ExpectError("(delete$ (create$ a b c) 2 1)", "Invalid multifield begin and end parameters: 2, 1");
  ExpectError("(subseq$ (create$ a b c) 1 3)", "List index out of bounds (3)");
  ExpectError("(insert$ (create$ a) 2 x)", "List index out of bounds (2)");
  ExpectError("(replace$ (create$ a) 1 1 x)", "List index out of bounds (1)");
  ExpectError("(replace$ (create$ a) -1 0 x)", "List index out of bounds (-1)");
}

TEST_F(MultifieldFunctionsTest, TextAndRuns) {
  ExpectShown({
      {"(implode$ (create$))", "\"\""},
      {"(explode$ \"  a   b \")", "a b "},
      {"(explode$ \"\")", ""},
      {"(get-type (nth$ 0 (explode$ \"1 2\")))", "dtAtom"},
      {"(subsetp (create$ a c) (create$ a b c))", "FALSE"},
      {"(subsetp (create$ b c d) (create$ a b c))", "FALSE"},
      {"(subsetp (create$ a a b) (create$ a a a b))", "TRUE"},
      {"(subsetp b (create$ a b))", "TRUE"},
      {"(subsetp (create$) (create$))", "TRUE"},
      {"(subsetp (create$) (create$ a))", "TRUE"},
  });
}

// With a copy of the list at each step this would take hours.
TEST_F(MultifieldFunctionsTest, AWalkByFirstAndRestTakesAStepForEachMember) {
  const Ref<IValueVector> list = NewVector();
  constexpr std::int32_t kCount = 200000;
  for (std::int32_t i = 0; i < kCount; ++i) list->Add(NewInteger(1));
  engine.GetContext().SetVariable("l", NewList(list));
  Load(
      "(bind ?sum 0) (bind ?rest ?l)"
      "(while (> (length$ ?rest) 0) do"
      "  (bind ?sum (+ ?sum (first$ ?rest)))"
      "  (bind ?rest (rest$ ?rest)))");
  EXPECT_EQ(Show("(+ ?sum 0)"), IntegerToText(kCount));
  EXPECT_EQ(list->GetValueCount(), kCount);
}

TEST_F(MultifieldFunctionsTest, AListMayShrinkWhileItIsWalked) {
  TUserFunction shrink(nullptr);
  shrink.SetFunctionName("shrink");
  shrink.SetEngine(&engine);
  shrink.OnCall = [](auto&, const IFunCall& call, TKBContext& context, Ref<IKBValue>&) {
    call.GetArgument(0)->Resolve(&context)->GetAsList()->Clear();
  };
  Load("(bind ?l (create$ a b c))");
  Show("(foreach x ?l (printout t ?x) (shrink ?l))");
  EXPECT_EQ(TakeOutput(), "a");
}

}  // namespace
}  // namespace reasoner
