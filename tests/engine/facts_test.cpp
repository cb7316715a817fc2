#include "reasoner/engine/Facts.h"

#include <set>

#include "reasoner/vocabulary/Messages.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class FactsTest : public EngineTest {
 protected:
  FactsTest() { facts = &engine.GetFacts(); }

  Ref<IFact> Parsed(const std::string& text) { return engine.ParseFact(text); }

  TFacts* facts;
};

TEST_F(FactsTest, EqualHashCodesAreNoEqualFacts) {
  Load("(deftemplate cell (slot x) (slot y))");
  std::set<std::uint32_t> hashes;
  for (int x = 0; x < 100; ++x) {
    for (int y = 0; y < 100; ++y) {
      const Ref<IFact> cell = engine.FindFactTemplate("cell")->NewFact();
      cell->SetValue("x", NewInteger(x));
      cell->SetValue("y", NewInteger(y));
      hashes.insert(cell->GetHashCode());
      ASSERT_NE(engine.Assert(cell), -1) << x << " " << y;
    }
  }
  EXPECT_LT(hashes.size(), 10000u) << "the board is meant to hold collisions";
  EXPECT_EQ(facts->GetCount(), 10001);
  EXPECT_EQ(engine.Assert("(cell (x 1) (y 23))"), -1);
  engine.Retract("(cell (x 1) (y 23))");
  EXPECT_EQ(facts->FindFact(*Parsed("(cell (x 1) (y 23))")), -1);
  EXPECT_NE(facts->FindFact(*Parsed("(cell (x 12) (y 3))")), -1);
}

TEST_F(FactsTest, DuplicationIsASwitchThatMayBeTurnedAtAnyTime) {
  engine.Assert("(a)");
  engine.SetFactDuplication(true);
  EXPECT_FALSE(facts->GetCacheHashCodes());
  EXPECT_EQ(engine.Assert("(a)"), 2);
  engine.Assert("(b)");
  const Ref<IFact> listed = facts->GetFactByID(3);
  EXPECT_EQ(engine.Assert(listed), 4) << "an object stands in the list once: a copy joins it";
  engine.Retract(Parsed("(a)"));
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-2 (a)\nf-3 (b)\nf-4 (b)") << "the first in the list";
  engine.SetFactDuplication(false);
  EXPECT_EQ(engine.Assert("(b)"), -1) << "what came in between is covered";
  EXPECT_EQ(engine.Assert("(a)"), -1);
  engine.Retract("(b)");
  EXPECT_EQ(engine.Assert("(b)"), -1);
  engine.Retract("(b)");
  EXPECT_EQ(engine.Assert("(b)"), 5);
}

TEST_F(FactsTest, SearchesGoByContentByIdOrByIdentity) {
  engine.Assert("(a)");
  engine.Assert("(b)");
  const Ref<IFact> listed = facts->GetFactByID(2);
  const Ref<IFact> same = Parsed("(b)");
  EXPECT_EQ(facts->FindFact(*same), 2);
  EXPECT_EQ(facts->IndexOf(*same), -1);
  EXPECT_EQ(facts->IndexOf(*listed), 2);
  same->SetID(1);
  EXPECT_EQ(facts->IndexOf(*same), -1) << "few facts are searched by identity";
  engine.Assert("(c)");
  engine.Assert("(d)");
  EXPECT_EQ(facts->IndexOf(*same), 1) << "five or more by the id";
  EXPECT_FALSE(facts->Lists(*same));
  same->SetID(-1);
  EXPECT_EQ(facts->IndexOf(*same), -1);
}

TEST_F(FactsTest, IdsGoOnBeyond32Bits) {
  facts->PreserveIDs = true;
  const Ref<IFact> high = Parsed("(a 1)");
  high->SetID(12345678901);
  facts->Add(high);
  const TFactId low = 12345678901 & 0x7FFFFFFF;  // files under the same key
  const Ref<IFact> twin = Parsed("(a 2)");
  twin->SetID(low);
  facts->Add(twin);
  EXPECT_EQ(facts->GetFactByID(12345678901), high);
  EXPECT_EQ(facts->GetFactByID(low), twin);
  EXPECT_EQ(engine.GetNextFactId(), 12345678902);
  Load("(defrule r ?f <- (a ?x) (b ?f) => (printout t ?f \" \" ?x) (modify ?f (__Data 7)))");
  for (const Ref<IFact>& fact : {high, twin}) {
    const Ref<IFact> pointer = Parsed("(b 0)");
    const Ref<IValueVector> fields = NewVector();
    fields->Add(NewFactId(fact->GetID()));
    pointer->SetValue("__Data", NewList(fields));
    engine.Assert(pointer);
  }
  EXPECT_EQ(engine.GetAgendaCount(), 2);
  engine.Retract(low);
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  EXPECT_EQ(engine.GetActivation(0).GetToken()->GetToFactsString(), "f-12345678901, f-12345678902");
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_EQ(TakeOutput(), "<Fact-12345678901> 1");
  EXPECT_EQ(high->ToIDString(), "f-12345678904 (a 7 )");
  ExpectPrinted("(facts 12345678904)", "f-12345678904 (a 7 )\nFor a total of 1 facts.\n");
  ExpectShown({{"(get-slot-value 12345678904 __Data)", "7 "},
               {"(retract 12345678904)", "TRUE"},
               {"(assert (a 8))", "<Fact-12345678905>"}});
  EXPECT_FALSE(facts->Lists(*high));
}

TEST_F(FactsTest, PreservedIdsAreKeptWhenTheyAreFree) {
  facts->PreserveIDs = true;
  engine.Assert("(a)");
  engine.Assert("(b)");
  const auto add = [this](const char* text, std::int32_t id) {
    const Ref<IFact> fact = Parsed(text);
    fact->SetID(id);
    facts->Add(fact);
    return fact->GetID();
  };
  EXPECT_EQ(add("(c)", 7), 7);
  EXPECT_EQ(engine.GetNextFactId(), 8);
  engine.Retract(2);
  EXPECT_EQ(add("(d)", 2), 2);
  EXPECT_EQ(engine.GetNextFactId(), 8);
  EXPECT_EQ(add("(e)", 2), 8) << "an id in use is given anew";
  EXPECT_EQ(add("(f)", -1), 9);
  EXPECT_EQ(facts->GetFactByID(2)->ToString(), "(d)");
  EXPECT_EQ(facts->GetFactByID(7)->ToString(), "(c)");
}

TEST_F(FactsTest, AnInsertedFactIsMatchedAndStandsAtItsIndex) {
  Load("(defrule r (a ?x) =>) (assert (b) (c))");
  facts->Insert(1, Parsed("(a 1)"));
  facts->Insert(0, Parsed("(b)"));
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-3 (a 1 )\nf-1 (b)\nf-2 (c)");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  facts->Delete(1);
  EXPECT_EQ(engine.GetAgendaCount(), 0);
}

TEST_F(FactsTest, PendingFactsAreWorkedOffByTheNextAssertion) {
  engine.Assert("(old)");
  engine.AddPendingFact(Parsed("(new 1)"), true);
  engine.AddPendingFact(Parsed("(old)"), false);
  engine.Assert("(cause)");
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-2 (cause)\nf-3 (new 1 )");
  EXPECT_TRUE(engine.GetFactPendingAssertions().empty());
  EXPECT_TRUE(engine.GetFactPendingRetractions().empty());
}

TEST_F(FactsTest, FactsOfAnotherEngineComeOverOnTheTemplatesHere) {
  TReasoner other;
  other.Parse("(deftemplate item (slot n)) (assert (item (n 1)) (free x y))", true);
  Load("(deftemplate item (slot n)) (defrule r (item (n ?n)) =>) (assert (gone))");
  facts->Assign(other.GetFacts());
  EXPECT_EQ(facts->ToString(), other.GetFacts().ToString());
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  other.Parse("(clear) (deftemplate item (slot k)) (assert (item (k 2)))", true);
  EXPECT_EQ(FailureOf([&] { facts->Assign(other.GetFacts()); }),
            "Unable to assign slot values, fact templates are different: item and item");
}

// A test of the left side asserts `next` while the token of the first fact is in the network.
class FactsInTheNetworkTest : public FactsTest {
 protected:
  FactsInTheNetworkTest() {
    host.SetFunctionName("host");
    host.OnCall = [this](TObject&, const IFunCall&, TKBContext&, Ref<IKBValue>& result) {
      if (inside) inside();
      result = FCTrue;
    };
    host.SetEngine(&engine);
    Load("(defrule trigger (go) (test (host)) =>) (defrule seen (next ?x) =>)");
  }

  TUserFunction host;
  std::function<void()> inside;
};

TEST_F(FactsInTheNetworkTest, WhatIsAssertedInsideIsListedAtOnceAndMatchedAfterwards) {
  std::int32_t agenda = -1;
  inside = [&] {
    EXPECT_EQ(engine.Assert("(next 1)"), 2);
    EXPECT_EQ(engine.Assert("(next 1)"), -1);
    EXPECT_EQ(engine.Run(), 0);
    agenda = engine.GetAgendaCount();
  };
  engine.Assert("(go)");
  EXPECT_EQ(agenda, 0);
  EXPECT_EQ(engine.GetAgendaCount(), 2);
  inside = [&] { engine.Retract("(next 1)"); };
  engine.Retract("(go)");
  engine.Assert("(go)");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-3 (go)");
}

TEST_F(FactsInTheNetworkTest, WhatWouldPullTheNetworkFromUnderTheTokenIsRefused) {
  engine.Assert("(a)");
  const Ref<IFact> listed = facts->GetFactByID(1);
  std::vector<std::string> failures;
  inside = [&] {
    failures = {FailureOf([&] { engine.Reset(); }), FailureOf([&] { engine.Clear(); }),
                FailureOf([&] { facts->Clear(); }),
                FailureOf([&] { engine.BeginFactModify(listed); })};
  };
  engine.Assert("(go)");
  ASSERT_EQ(failures.size(), 4u);
  for (const std::string& failure : failures) {
    EXPECT_EQ(failure.substr(0, 17), "Network is busy: ") << failure;
  }
  EXPECT_EQ(engine.GetAgendaCount(), 1);
}

TEST_F(FactsInTheNetworkTest, AFactThatIsModifiedBeforeItsTokenCameIsMatchedOnce) {
  inside = [&] { engine.Assert("(next 1)"); };
  engine.OnAssertion = [&](TReasoner&, const Ref<IFact>& fact) {
    if (fact->ToString() != "(go)") return;
    const Ref<IFact> next = facts->GetFactByID(2);
    engine.BeginFactModify(next);
    next->GetValue("__Data")->GetAsList()->Add(NewInteger(2));
    engine.EndFactModify(next);
  };
  Load("(defrule any (next $?x) =>)");
  engine.Assert("(go)");
  EXPECT_EQ(facts->GetCount(), 3);
  EXPECT_EQ(engine.GetAgendaCount(), 2) << engine.GetAgenda().ToString();
}

TEST_F(FactsInTheNetworkTest, AFailureInATestLeavesTheFactListedAndTheRestIsDone) {
  inside = [&] {
    engine.Assert("(next 1)");
    Raise(SNoTemplate);
  };
  int events = 0;
  engine.OnAssertion = [&](TReasoner&, const Ref<IFact>&) { ++events; };
  EXPECT_NE(FailureOf([&] { engine.Assert("(go)"); }).find("Fact Template is missing"),
            std::string::npos);
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (go)\nf-2 (next 1 )");
  EXPECT_EQ(events, 1) << "the failed assertion is not reported, the other one is";
  EXPECT_EQ(engine.GetAgendaCount(), 1);
}

}  // namespace
}  // namespace reasoner
