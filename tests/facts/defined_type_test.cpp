#include <functional>

#include "reasoner/facts/DefinedType.h"
#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class DefinedTypeTest : public EngineTest {
 protected:
  DefinedTypeTest() { type->SetName("size"); }

  static Ref<IKBValue> ListOf(std::initializer_list<Ref<IKBValue>> members) {
    const Ref<IValueVector> list = NewVector();
    for (const Ref<IKBValue>& member : members) list->Add(member);
    return NewList(list);
  }

  Ref<IKBDefinedType> type = Make<TKBDefinedType>(&engine);
};

TEST_F(DefinedTypeTest, WhatIsNotValidSaysWhy) {
  type->SetBaseTypes({dtAtom, dtInteger});
  type->SetConstraints({vcAtom});
  type->AddConstraint(NewAtom("small"));
  type->SetMinRange(1);
  type->SetMaxRange(5);
  type->SetCardinalityLimited(true);
  type->SetMaxCardinality(2);
  const auto reason = [this](const Ref<IKBValue>& value) {
    EXPECT_EQ(type->IsValid(*value), type->GetInvalidValueString(*value).empty());
    return type->GetInvalidValueString(*value);
  };
  EXPECT_EQ(reason(NewInteger(9)), "") << "a range that is not switched on does not count";
  type->SetRangeLimited(true);
  EXPECT_EQ(reason(NewInteger(9)),
            "Value \"9\" is not valid, Range must be between 1.0000 and 5.0000");
  EXPECT_EQ(reason(NewInteger(5)), "");
  EXPECT_EQ(reason(NewInteger(1)), "");
  EXPECT_EQ(reason(NewAtom("small")), "");
  EXPECT_EQ(reason(NewAtom("big")), "Value \"big\" is not valid, Not in allowed values");
  EXPECT_EQ(reason(NewFloat(2)),
            "Value \"2.0000\" is not valid, Not a ATOM, INTEGER type.  Value (2.0000) is a dtFloat "
            "type");
  EXPECT_EQ(reason(ListOf({NewInteger(1), NewInteger(2), NewInteger(3)})),
            "Value \"1 2 3 \" is not valid, Multislot must have between 0 and 2 elements");
  EXPECT_EQ(reason(ListOf({NewInteger(1), NewAtom("big")})),
            "Value \"big\" is not valid, Not in allowed values");
}

TEST_F(DefinedTypeTest, NumbersAreLookedForAmongTheAllowedNumbersOfTheOtherKind) {
  TValueConstraint kind = vcAtom;
  type->SetConstraints({vcFloat});
  type->AddConstraint(NewFloat(2.5));
  type->AddConstraint(NewInteger(2));
  EXPECT_TRUE(type->IsConstraint(*NewInteger(2), kind));
  EXPECT_EQ(kind, vcFloat);
  EXPECT_TRUE(type->IsConstraint(*NewFloat(2.5), kind));
  EXPECT_FALSE(type->IsConstraint(*NewInteger(3), kind));
  type->SetConstraints({vcInteger});
  type->AddConstraint(NewInteger(2));
  EXPECT_TRUE(type->IsConstraint(*NewFloat(2.0), kind));
  EXPECT_EQ(kind, vcInteger);
  EXPECT_FALSE(type->IsConstraint(*NewFloat(2.5), kind));
  EXPECT_EQ(type->GetConstraintFloatsCount(), 0) << "a list goes with its kind";
}

TEST_F(DefinedTypeTest, AllowedValuesNeedTheirKindSwitchedOn) {
  type->SetConstraints({vcAtom});
  type->AddConstraint(NewAtom("a"));
  type->AddConstraint(NewAtom("a"));
  EXPECT_EQ(type->GetConstraintAtomsCount(), 1);
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[&] { type->AddConstraint(NewString("a")); },
       "Defined Type size cannot contain String constraint types"},
      {[&] { type->DeleteConstraint(0, vcFloat); },
       "Defined Type size does not have Float constraints"},
      {[&] { type->GetConstraintInteger(0); },
       "Defined Type size does not have Integer constraints"},
      {[&] { type->GetConstraintAtom(1); }, "List index out of bounds (1)"},
  };
  for (const auto& [operation, message] : rows) EXPECT_EQ(FailureOf(operation), message);
  type->RemoveConstraint(*NewAtom("a"));
  EXPECT_FALSE(type->IsValid(*NewAtom("a"))) << "an empty list of allowed atoms allows none";
}

TEST_F(DefinedTypeTest, ATypeIsNotItsOwnAncestorAndFuzzyStandsAlone) {
  const Ref<IKBDefinedType> child = Make<TKBDefinedType>(&engine);
  child->SetImplicit(true);
  child->SetAncestor(type);
  EXPECT_FALSE(child->IsImplicit());
  EXPECT_EQ(FailureOf([&] { type->SetAncestor(child); }),
            "Type inheritance loop detected, size type cannot be an ancestor of itself");
  EXPECT_EQ(FailureOf([&] { type->SetAncestor(type); }),
            "Type inheritance loop detected, size type cannot be an ancestor of itself");
  EXPECT_EQ(type->GetAncestor().get(), nullptr);
  EXPECT_EQ(FailureOf([&] {
              type->SetBaseTypes({dtFuzzy, dtInteger});
            }),
            "Cannot mix fuzzy type with other primitive types");
  EXPECT_EQ(type->GetBaseTypes(), KBSlotTypes);
  type->SetBaseTypes({dtInteger, dtList, dtMultiSlot});
  EXPECT_EQ(type->GetBaseTypes(), TKBTypes{dtInteger}) << "what is no type of a slot is dropped";
}

TEST_F(DefinedTypeTest, ACopyIsEqualAndItsOwn) {
  type->SetConstraints({vcFloat, vcAtom});
  type->AddConstraint(NewFloat(1));
  type->SetComment("c");
  const Ref<IKBDefinedType> clone = type->Clone();
  EXPECT_TRUE(type->Equals(*clone));
  EXPECT_EQ(clone->GetComment(), "c");
  clone->SetMaxRange(type->GetMaxRange() - 0.00005);
  EXPECT_TRUE(type->Equals(*clone)) << "bounds count to four places";
  clone->SetMaxRange(type->GetMaxRange() - 1);
  EXPECT_FALSE(type->Equals(*clone));
  clone->Assign(*type);
  clone->GetConstraintFloat(0)->SetAsFloat(2);
  EXPECT_FALSE(type->Equals(*clone));
  EXPECT_EQ(type->GetConstraintFloat(0)->GetAsFloat(), 1);
}

TEST_F(DefinedTypeTest, ListenersHearOfEachRealChangeAndOnceMoreAtTheEndOfAnUpdate) {
  int changes = 0;
  type->OnChange = [&changes](TKBDefinedType&) { ++changes; };
  type->SetComment("c");
  type->SetComment("c");
  EXPECT_EQ(changes, 1);
  type->BeginUpdate();
  type->BeginUpdate();
  type->SetUnits("m");
  type->EndUpdate();
  EXPECT_EQ(changes, 2);
  type->EndUpdate();
  EXPECT_EQ(changes, 3);
}

TEST_F(DefinedTypeTest, ATypeLivesOnWhenItsEngineIsGone) {
  Ref<IKBDefinedType> kept;
  {
    TReasoner other;
    other.Parse("(deftype small extends (type INTEGER) (range 1 5))", true);
    kept = other.FindDefinedType("small");
    ASSERT_TRUE(kept);
  }
  EXPECT_EQ(kept->GetReasoner(), nullptr);
  EXPECT_EQ(kept->ToString(), "small");
  EXPECT_FALSE(kept->IsValid(*NewInteger(6)));
}

}  // namespace
}  // namespace reasoner
