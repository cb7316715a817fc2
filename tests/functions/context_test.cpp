#include "reasoner/functions/Context.h"

#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class ContextTest : public EngineTest {
 protected:
  static Ref<IKBValue> Variable(const char* name, TKBType type = dtVariable) {
    return Make<TKBValue>(Text(name), type);
  }
  static std::string Value(const TKBContext& frame, const char* name) {
    return frame.GetVariable(name)->ToString();
  }

  TKBContext bottom{nullptr, &engine};
};

TEST_F(ContextTest, FramesShadowAndSetAsToldForEachOperation) {
  bottom.AddLocalBinding("x", NewInteger(1));
  {
    const std::unique_ptr<TKBContext> frame = bottom.Push();
    frame->AddBinding("x", NewInteger(2));
    EXPECT_EQ(Value(bottom, "x"), "2") << "an outer binding is changed";
    frame->AddBinding("new", NewInteger(0));
    EXPECT_EQ(bottom.FindBinding("new"), nullptr);
    frame->SetVariable("x", NewInteger(3));
    EXPECT_EQ(Value(*frame, "x"), "3");
    EXPECT_EQ(Value(bottom, "x"), "2") << "and a local one hides it";
    frame->AddBinding("x", NewInteger(4));
    EXPECT_EQ(Value(bottom, "x"), "2") << "the nearest binding is the one that changes";
    const std::unique_ptr<TKBContext> inner = frame->Push();
    inner->AddLocalBinding("x", NewInteger(5));
    inner->AddGlobalBinding("x", NewInteger(6));
    EXPECT_EQ(Value(*inner, "x"), "5");
    EXPECT_EQ(Value(*frame, "x"), "4");
    EXPECT_EQ(inner->FindGlobalBinding("x"), bottom.FindOwnBinding("x"));
    EXPECT_TRUE(inner->RemoveBinding("x"));
    EXPECT_FALSE(inner->RemoveBinding("x"));
    EXPECT_EQ(Value(*inner, "x"), "4");
  }
  EXPECT_EQ(Value(bottom, "x"), "6");
  EXPECT_EQ(FailureOf([&] { bottom.GetVariable("X"); }), "Unknown variable name: X");
}

TEST_F(ContextTest, AFrameOfManyNamesFindsEachOfThem) {
  for (int i = 0; i < 100; ++i) bottom.SetVariable("v" + std::to_string(i), NewInteger(i));
  for (int i = 0; i < 100; i += 3) EXPECT_TRUE(bottom.RemoveBinding("v" + std::to_string(i)));
  for (int i = 0; i < 100; i += 2) {
    bottom.AddLocalBinding("v" + std::to_string(i), NewInteger(-i));
  }
  for (int i = 0; i < 100; ++i) {
    const TBinding* binding = bottom.FindBinding("v" + std::to_string(i));
    if (i % 2 == 1 && i % 3 == 0) {
      EXPECT_EQ(binding, nullptr) << i;
    } else {
      ASSERT_NE(binding, nullptr) << i;
      EXPECT_EQ(binding->Value->GetAsInteger(), i % 2 == 0 ? -i : i);
    }
  }
  bottom.Clear();
  EXPECT_EQ(bottom.FindBinding("v1"), nullptr);
}

TEST_F(ContextTest, ReturnValuesAreHandedDownByPop) {
  const std::unique_ptr<TKBContext> frame = bottom.Push();
  frame->SetReturnValue(NewInteger(1));
  EXPECT_FALSE(bottom.HasReturnValue());
  EXPECT_EQ(&frame->Pop(), &bottom);
  EXPECT_TRUE(bottom.HasReturnValue());
  EXPECT_EQ(&bottom.Pop(), &bottom);
  bottom.Clear();
  EXPECT_FALSE(bottom.HasReturnValue());
}

TEST_F(ContextTest, ExpandingEvaluatesAndSplicesAtEveryLevelAndFlatteningSplicesOnly) {
  const Ref<IValueVector> deep = NewVector();
  deep->Add(Variable("x"));
  deep->Add(NewFunCallValue(engine.ParseFunCall("(create$ p (create$ q))")));
  const Ref<IValueVector> list = NewVector();
  list->Add(Variable("many", dtMultiVariable));
  list->Add(NewAtom("a"));
  list->Add(NewList(deep));
  bottom.AddLocalBinding("x", NewInteger(1));
  const Ref<IValueVector> many = NewVector();
  many->Add(Variable("x"));
  many->Add(NewList(NewVector()));
  bottom.AddLocalBinding("many", NewList(many));
  EXPECT_EQ(bottom.ExpandList(*list)->ToString(), "1 a 1 p q ");
  EXPECT_EQ(TKBContext::FlattenList(*list)->ToString(), "$?many a ?x (create$ p (create$ q)) ");
  EXPECT_EQ(many->ToString(), "?x  ") << "the lists themselves are left alone";
}

TEST_F(ContextTest, ResolvingAFactGivesItCellsThatNobodyElseHas) {
  Load(
      "(deftemplate box (slot one) (multislot items)) (assert (box (one a) (items x y)))"
      "(deffunction change (?f ?i) (modify ?f (items $?i done)))");
  const Ref<IKBValue> shared = NewList(NewVector());
  shared->GetAsList()->Add(NewAtom("m"));
  const Ref<IKBValue> atom = NewAtom("n");
  bottom.AddLocalBinding("many", shared);
  bottom.AddLocalBinding("one", atom);
  const Ref<IFact> fact = engine.FindFactTemplate("box")->NewFact();
  fact->SetValue("items", Variable("many", dtMultiVariable));
  fact->SetValue("one", Variable("one"));
  bottom.Resolve(*fact);
  EXPECT_EQ(fact->ToString(), "(box (items m ) (one n))");
  fact->GetValue("items")->GetAsList()->Add(NewAtom("more"));
  fact->GetValue("one")->SetAsAtom("changed");
  EXPECT_EQ(shared->ToString(), "m ");
  EXPECT_EQ(atom->ToString(), "n");

  const Ref<IFact> old = engine.GetFacts().GetFactByID(1);
  const Ref<IFact> before = old->Clone();
  EXPECT_EQ(Show("(bind ?i (create$ p q))"), "p q ");
  EXPECT_EQ(Show("(change 1 ?i)"), "<Fact-2>");
  EXPECT_EQ(engine.GetFacts().GetFactByID(2)->ToString(), "(box (items p q done ) (one a))");
  EXPECT_EQ(Show("(length$ ?i)"), "2") << "the variable's list is not the slot's";
}

TEST_F(ContextTest, SlotsAreEvaluatedInTheOrderOfTheirNames) {
  Load(
      "(deftemplate t (slot c) (slot a) (slot B))"
      "(deffunction say (?x) (printout t ?x \" \") ?x)"
      "(assert (t (c (say c)) (B (say b)) (a (say a))))");
  Show("(assert (t (c (say 3)) (B (say 2)) (a (say 1))))");
  EXPECT_EQ(TakeOutput(), "1 2 3 ");
}

TEST_F(ContextTest, BindingsPrintTheirPlace) {
  const TBinding part("x", 2, "color", 4);
  const TBinding local("y", NewInteger(7));
  EXPECT_EQ(part.ToString(), "name=x FactIdx=2 SlotIdx=color SubIdx=4");
  EXPECT_EQ(local.ToString(), "name=y value=7 FactIdx=-2 SlotIdx=__LOCAL");
  EXPECT_TRUE(local.Equals(TBinding("y", NewInteger(7))));
  EXPECT_FALSE(local.Equals(TBinding("y", NewFloat(7))));
}

}  // namespace
}  // namespace reasoner
