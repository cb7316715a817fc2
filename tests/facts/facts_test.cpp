// Facts, templates, types and fact sets without an engine.

#include "reasoner/facts/DefinedType.h"
#include "reasoner/facts/Fact.h"
#include "reasoner/facts/FactSet.h"
#include "reasoner/facts/FactTemplate.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class FactTest : public EngineTest {
 protected:
  FactTest() {
    Load(R"((deftemplate item (slot name) (slot price (type FLOAT)) (multislot tags))
            (deftemplate twin (slot name) (slot price (type FLOAT)) (multislot tags)))");
    item = engine.FindFactTemplate("item");
  }

  Ref<IFact> Parsed(const std::string& text) { return engine.ParseFact(text); }
  static std::string Filled(const IFact& fact) {
    std::string names;
    for (const Text& name : fact.GetSlotNames()) names += name.str() + " ";
    return names;
  }

  Ref<IFactTemplate> item;
};

TEST_F(FactTest, SlotsAreFilledWhenTheyAreRead) {
  const Ref<IFact> fact = Make<TFact>(item);
  EXPECT_EQ(Filled(*fact), "");
  EXPECT_EQ(fact->GetValue("price")->ToString(), "0.0000");
  EXPECT_EQ(Filled(*fact), "price ");
  EXPECT_EQ(FailureOf([&] { fact->GetValue("colour"); }), "No such slot name: \"colour\"");
  EXPECT_TRUE(fact->Equals(*Make<TFact>(item)));
  fact->GetHashCode();
  EXPECT_EQ(Filled(*fact), "price ") << "comparing and hashing store nothing";
  fact->GetValue("tags")->GetAsList()->Add(NewAtom("x"));
  EXPECT_EQ(item->GetSlot("tags")->GetSlotDefault()->ToString(), "") << "a default is copied out";
}

TEST_F(FactTest, DynamicChecksConvertAnIntegerInTheCallersCellAndRefuseTheRest) {
  engine.SetTypeChecks({tcDynamic});
  const Ref<IFact> fact = item->NewFact();
  const Ref<IKBValue> three = NewInteger(3);
  fact->SetValue("price", three);
  EXPECT_TRUE(three->Equals(*NewFloat(3)));
  EXPECT_EQ(FailureOf([&] { fact->SetValue("price", NewAtom("dear")); }),
            "Not a FLOAT type.  Value (dear) is a dtAtom type for price slot");
  EXPECT_EQ(fact->GetValue("price").get(), three.get());
  fact->SetValue("price", FCNil);
  fact->SetValue("price", FCNil->Clone());
  EXPECT_EQ(FailureOf([&] { fact->SetValue("price", NewAtom("")); }),
            "Not a FLOAT type.  Value () is a dtAtom type for price slot");
}

TEST_F(FactTest, EqualityIsStrictAndOfOneTemplateAndIgnoresIds) {
  const Ref<IFact> fact = Parsed("(item (name a) (tags 1 x))");
  const Ref<IFact> same = Parsed("(item (tags 1 x) (name a))");
  same->SetID(77);
  EXPECT_TRUE(fact->Equals(*same));
  EXPECT_EQ(fact->GetHashCode(), same->GetHashCode());
  for (const char* text : {"(item (name b) (tags 1 x))", "(item (name \"a\") (tags 1 x))",
                           "(item (name a) (tags x 1))", "(item (name a) (tags 1.0 x))",
                           "(item (name a) (tags 1 x x))", "(twin (name a) (tags 1 x))"}) {
    EXPECT_FALSE(fact->Equals(*Parsed(text))) << text;
  }
  item->GetSlot("price")->SetSlotType({dtFuzzy});
  const Ref<IFact> cold = item->NewFact();
  const Ref<IFact> warm = item->NewFact();
  warm->SetValue("price", NewAtom("warm"));
  EXPECT_TRUE(cold->Equals(*warm)) << "fuzzy slots take no part";
  EXPECT_NE(cold->GetHashCode(), warm->GetHashCode()) << "but in the hash they do";
}

TEST_F(FactTest, AnotherTemplateKeepsTheSlotsThatBothHave) {
  Load("(deftemplate other (slot name) (slot weight (default 5)))");
  const Ref<IFact> fact = Parsed("(item (name a) (price 2.5))");
  const Ref<IKBValue> name = fact->GetValue("name");
  fact->SetTemplate(engine.FindFactTemplate("other"));
  EXPECT_EQ(fact->GetValue("name").get(), name.get());
  EXPECT_EQ(fact->ToString(), "(other (name a) (weight 5))");
  fact->SetTemplate(item);
  EXPECT_EQ(fact->ToString(), "(item (name a) (price 0.0000))");
  fact->SetTemplate(nullptr);
  EXPECT_EQ(Filled(*fact), "");
}

TEST_F(FactTest, ACloneHasCellsAndListsOfItsOwnAndTheSameId) {
  const Ref<IFact> fact = Parsed("(item (name a) (tags x))");
  fact->SetID(4);
  const Ref<IFact> clone = fact->Clone();
  clone->GetValue("name")->SetAsAtom("b");
  clone->GetValue("tags")->GetAsList()->Add(NewAtom("y"));
  EXPECT_EQ(fact->ToString(), "(item (name a) (price 0.0000) (tags x ))");
  EXPECT_EQ(clone->GetID(), 4);
  const Ref<IFact> target = item->NewFact();
  target->AssignValues(*clone);
  EXPECT_EQ(target->ToString(), "(item (name b) (price 0.0000) (tags x y ))");
  EXPECT_EQ(FailureOf([&] { target->AssignValues(*Parsed("(twin (name z))")); }),
            "Unable to assign slot values, fact templates are different: item and twin");
}

TEST_F(FactTest, ANewFactWithASourceOfAnotherTemplateIsAFactOfThatTemplate) {
  Load("(deftemplate shuffled (slot weight) (slot name))");
  const Ref<IFact> source = Parsed("(item (name a) (price 2.5))");
  const Ref<IFact> made = Make<TFact>(engine.FindFactTemplate("shuffled"), source.get());
  EXPECT_EQ(made->ToString(), source->ToString());
  EXPECT_EQ(Make<TFact>(nullptr, source.get())->ToString(), source->ToString());
}

TEST_F(FactTest, AFactMadeBeforeItsTemplateChangesReadsRightAfterIt) {
  const Ref<IFact> fact = Parsed("(item (name a) (price 2.5) (tags x))");
  item->RemoveSlot("price");
  item->AddSlot("age", NewInteger(9));
  EXPECT_EQ(fact->ToString(), "(item (age 9) (name a) (tags x ))");
  EXPECT_TRUE(fact->Equals(*fact->Clone()));
  item->GetSlot("name")->SetName("zed");
  EXPECT_EQ(fact->GetValue("zed")->ToString(), "a");
  item->ClearSlots();
  EXPECT_EQ(fact->ToString(), "(item)");
}

class FactTemplateTest : public EngineTest {
 protected:
  Ref<IFactTemplate> New(const std::string& name = "item") {
    return Make<TFactTemplate>(&engine, name);
  }
  static Ref<IFactSlot> NewSlot(IFactTemplate& fact_template, const char* name, TKBTypes types) {
    const Ref<IFactSlot> slot = Make<TFactSlot>(&fact_template);
    slot->SetName(name);
    slot->SetSlotType(types);
    return slot;
  }
  static std::string Names(const IFactTemplate& fact_template) {
    std::string names;
    for (const Text& name : fact_template.GetSlotNames()) names += name.str() + " ";
    return names;
  }
  static Ref<IKBValue> Function(const char* name) {
    return NewFunCallValue(Make<TFunctionCall>(nullptr, name));
  }
};

TEST_F(FactTemplateTest, ASlotEntersItsTemplateByBeingNamed) {
  const Ref<IFactTemplate> item = New();
  const Ref<IFactSlot> slot = Make<TFactSlot>(item.get());
  EXPECT_EQ(FailureOf([&] { slot->SetName("a b"); }), "a b contains unexpected character: \" \"");
  EXPECT_EQ(item->GetSlotCount(), 0);
  EXPECT_EQ(slot->GetName().view(), "");
  slot->SetName("b");
  slot->SetName("c");
  EXPECT_EQ(Names(*item), "c ") << "and leaves its old name";
  const Ref<IFactSlot> other = NewSlot(*item, "a", {dtAtom});
  other->SetName("c");
  EXPECT_EQ(Names(*item), "c ");
  EXPECT_EQ(item->GetSlot("c").get(), other.get()) << "the newcomer takes the place of a namesake";
  EXPECT_EQ(slot->GetTemplate(), nullptr);
  slot->SetName("left");
  EXPECT_EQ(Names(*item), "c ") << "a slot that was pushed out stays out";
}

TEST_F(FactTemplateTest, NamesThatCouldNotBeReadBackAreRefused) {
  const Ref<IFactTemplate> item = New();
  for (const char character : std::string(" '\"#()[]?:$&;<>")) {
    const std::string name = std::string("a") + character + "b";
    const std::string message = name + " contains unexpected character: \"" + character + "\"";
    EXPECT_EQ(FailureOf([&] { item->SetTemplateName(name); }), message);
    EXPECT_EQ(FailureOf([&] { item->AddSlot(name, FCNil); }), message);
  }
  EXPECT_EQ(item->GetTemplateName(), "item");
  EXPECT_EQ(item->GetSlotCount(), 0);
}

TEST_F(FactTemplateTest, AddingASlotChecksItsDefaultAgainstItsKind) {
  const Ref<IFactTemplate> item = New();
  item->AddSlot("s", NewAtom("a"));
  item->AddMultiSlot("m", FCNilList);
  const Ref<IKBValue> list = NewList(NewVector());
  list->GetAsList()->Add(NewInteger(1));
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[&] { item->AddSlot("x", nullptr); }, "Bad Slot Type"},
      {[&] { item->AddSlot("x", list); }, "Invalid default slot value: 1 "},
      {[&] { item->AddSlot("m", NewAtom("a")); },
       "Invalid value for existing slot, multislot is not slot"},
      {[&] { item->AddMultiSlot("x", NewAtom("a")); },
       "Invalid default value for a multislot, must be a multifield: a"},
      {[&] { item->AddMultiSlot("  ", list); }, "Bad Slot Name:   "},
      {[&] { item->AddMultiSlot("s", list); },
       "Invalid value for existing slot, slot is not multislot"},
      {[&] { item->GetSlot("x"); }, "No such slot name: \"x\""},
      {[&] { item->SetSlot("m", item->GetSlot("s")); },
       "Index does not match fact slot name: m and s"},
  };
  for (const auto& [operation, message] : rows) EXPECT_EQ(FailureOf(operation), message);
  item->AddSlot("s", NewAtom("b"));
  EXPECT_EQ(item->GetSlot("s")->GetSlotDefault()->ToString(), "b") << "a known slot: its default";
  EXPECT_EQ(item->GetSlotCount(), 2);
}

TEST_F(FactTemplateTest, ANewTypeGivesADefaultThatFits) {
  const Ref<IFactTemplate> item = New();
  item->AddSlot("s", NewAtom("abc"));
  const Ref<IFactSlot> slot = item->GetSlot("s");
  slot->SetSlotType({dtInteger});
  EXPECT_TRUE(slot->GetSlotDefault()->Equals(*NewInteger(0)));
  slot->SetSlotType({dtFloat, dtInteger});
  EXPECT_TRUE(slot->GetSlotDefault()->Equals(*NewInteger(0))) << "one that still fits stays";
  EXPECT_EQ(FailureOf([&] {
              slot->SetSlotType({dtFuzzy, dtAtom});
            }),
            "Cannot mix fuzzy type with other primitive types");
  EXPECT_EQ(slot->GetSlotType(), (TKBTypes{dtFloat, dtInteger}));
  EXPECT_FALSE(item->IsFuzzy());
  slot->SetSlotType({dtFuzzy, dtList, dtMultiSlot});
  EXPECT_TRUE(item->IsFuzzy());
  slot->SetSlotType({dtAtom, dtInteger});
  EXPECT_FALSE(item->IsFuzzy()) << "the template looks again after a change";
}

TEST_F(FactTemplateTest, ValidityFollowsTheSlotsTypes) {
  const Ref<IFactTemplate> item = New();
  const Ref<IFactSlot> number = NewSlot(*item, "n", {dtInteger});
  const Ref<IFactSlot> list = NewSlot(*item, "l", {dtInteger, dtList, dtMultiSlot});
  const Ref<IKBValue> mixed = NewList(NewVector());
  mixed->GetAsList()->Add(NewInteger(1));
  mixed->GetAsList()->Add(Make<TKBValue>(Text("x"), dtVariable));
  mixed->GetAsList()->Add(Function("f"));
  const Ref<IKBValue> wrong = NewList(NewVector());
  wrong->GetAsList()->Add(NewAtom("a"));
  EXPECT_TRUE(number->IsValid(FCNil.get()));
  EXPECT_TRUE(number->IsValid(FCNil->Clone().get()));
  EXPECT_FALSE(number->IsValid(NewAtom("").get())) << "another empty atom is no nil";
  EXPECT_TRUE(list->IsValid(mixed.get()));
  EXPECT_FALSE(list->IsValid(FCNil.get()));
  EXPECT_FALSE(list->IsValid(wrong.get()));
  EXPECT_EQ(number->GetInvalidValueString(*NewAtom("a")),
            "Not a INTEGER type.  Value (a) is a dtAtom type for n slot");
  EXPECT_EQ(list->GetInvalidValueString(*wrong),
            "Not a INTEGER, LIST, MULTISLOT type.  Value (a ) is a dtAtom (a) type for l slot");
  EXPECT_EQ(list->GetInvalidValueString(*mixed), "");
}

TEST_F(FactTemplateTest, DefaultsAreCheckedOnlyWithDynamicChecks) {
  const Ref<IFactTemplate> item = New();
  const Ref<IFactSlot> slot = NewSlot(*item, "n", {dtInteger});
  slot->SetSlotDefault(NewAtom("a"));
  slot->SetSlotDefault(NewInteger(1));
  engine.SetTypeChecks({tcDynamic});
  EXPECT_EQ(FailureOf([&] { slot->SetSlotDefault(NewAtom("a")); }),
            "Invalid default slot value: a");
  EXPECT_EQ(slot->GetSlotDefault()->ToString(), "1");
  EXPECT_EQ(FailureOf([&] { slot->GetSlotDefault()->SetAsAtom("b"); }),
            "Value \"b\" is not valid, n");
  EXPECT_EQ(slot->GetSlotDefault()->ToString(), "b") << "the cell's own change is in";
  const Ref<IKBValue> old = slot->GetSlotDefault();
  slot->SetSlotDefault(NewInteger(2));
  old->SetAsAtom("free");
  EXPECT_EQ(old->GetOnChange(), nullptr);
}

TEST_F(FactTemplateTest, FactsTakeCopiesOfTheDefaultsAndDynamicOnesAreEvaluatedEachTime) {
  Load("(deftemplate item (slot id (default-dynamic (gensym*))) (multislot tags (default a b)))");
  const Ref<IFactTemplate> item = engine.FindFactTemplate("item");
  const Ref<IFact> first = item->NewFact();
  const Ref<IFact> second = item->NewFact();
  EXPECT_NE(first->GetValue("id")->ToString(), second->GetValue("id")->ToString());
  first->GetValue("tags")->GetAsList()->Add(NewAtom("c"));
  EXPECT_EQ(second->GetValue("tags")->ToString(), "a b ");
  EXPECT_EQ(item->NewFact()->GetValue("tags")->ToString(), "a b ");
  const Ref<IFact> other = New("other")->NewFact();
  EXPECT_EQ(FailureOf([&] { item->FillFactWithDefaults(*other); }),
            "Unable to assign slot values, fact templates are different: other and item");
  EXPECT_EQ(FailureOf([&] { item->FillFactWithDefaults(*Make<TFact>(nullptr)); }),
            "Fact Template is missing");
}

TEST_F(FactTemplateTest, ARegisteredTemplateMovesWithItsNameAndLosesItsFactsAndRules) {
  Load("(deftemplate item (slot a)) (defrule r (item (a ?x)) =>) (assert (item (a 1)))");
  const Ref<IFactTemplate> item = engine.FindFactTemplate("item");
  EXPECT_EQ(FailureOf([&] { item->SetTemplateName("Initial-Fact"); }),
            "Fact Template Name already exists: \"Initial-Fact\"");
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);
  item->SetTemplateName("thing");
  EXPECT_EQ(engine.FindFactTemplate("thing").get(), item.get());
  EXPECT_EQ(engine.FindFactTemplate("item").get(), nullptr);
  EXPECT_EQ(engine.GetFacts().GetCount(), 1);
  EXPECT_EQ(engine.GetRules().GetCount(), 0);
  EXPECT_EQ(Show("(assert (thing (a 2)))"), "<Fact-2>");
}

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

class FactSetTest : public EngineTest {};

TEST_F(FactSetTest, ASetIsFilledWithLinesBeforeItHasAnEngine) {
  TFactSet set;
  set.SetFacts({"(a 1)", "(b"});
  EXPECT_EQ(set.GetFact(0).get(), nullptr);
  EXPECT_NE(FailureOf([&] { set.SetEngine(&engine); }), "");
  TFactSet good;
  good.SetFactSetName("good");
  good.SetFacts({"(a 1)"});
  good.SetEngine(&engine);
  EXPECT_EQ(good.GetLines()[0].fact->ToString(), "(a 1 )");
  EXPECT_NE(FailureOf([&] { good.SetFacts({"(c 1)", "(d"}); }), "");
  EXPECT_EQ(good.GetCount(), 1) << "a line that does not parse changes nothing";
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a 1 )");
  good.SetEngine(nullptr);
  EXPECT_EQ(good.GetLines()[0].fact.get(), nullptr);
  EXPECT_EQ(FailureOf([&] { good.GetFact(1); }), "List index out of bounds (1)");
}

TEST_F(FactSetTest, ALineThatNoLongerParsesIsPassedOverByAReset) {
  TFactSet set(&engine);
  set.SetFacts({"(a 1)"});
  set.AddFact(engine.ParseFact("(b 2)"));
  TFactSet late;
  late.SetFacts({"(broken", "(c 3)"});
  late.SetFactSetName("late");
  late.SetEngineNoParse(&engine);
  engine.GetFactSets().Add(late);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a 1 )\nf-2 (b 2 )\nf-3 (c 3 )");
}

TEST_F(FactSetTest, AFailingCallNamesTheSetAndCostsItsOwnFactAlone) {
  Load("(deffacts good (a)) (deffacts bad (b (sqrt x)) (c)) (deffacts last (d))");
  const std::string message = FailureOf([&] { engine.Reset(); });
  EXPECT_EQ(message.substr(message.size() - 16), " in fact set bad") << message;
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a)\nf-2 (c)\nf-3 (d)");
}

TEST_F(FactSetTest, ASecondSetOfAHeldNameTakesThePlaceOfTheFirst) {
  TFactSet first;
  first.SetFacts({"(a)"});
  first.SetEngine(&engine);
  {
    TFactSet second;
    second.SetFacts({"(b)"});
    second.SetEngine(&engine);
    EXPECT_EQ(first.GetEngine(), nullptr);
    engine.Reset();
    EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (b)");
  }
  EXPECT_EQ(engine.GetFactSets().GetCount(), 0) << "a host's set leaves when it dies";
  Load("(deffacts x (c))");
  Load("(deffacts x (d))");
  EXPECT_EQ(engine.GetFactSets().GetCount(), 1);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (d)");
}

TEST_F(FactSetTest, ASetMayBeRemovedWhileItIsReset) {
  Load("(deffacts one (a) (b)) (deffacts two (c))");
  engine.OnAssertion = [this](TReasoner&, const Ref<IFact>& fact) {
    if (fact->GetTemplate()->GetTemplateName() != "a") return;
    engine.GetFactSets().Clear();
  };
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a)");
  EXPECT_EQ(engine.GetFactSets().GetCount(), 0);
}

}  // namespace
}  // namespace reasoner
