#include <gtest/gtest.h>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class FactFunctionsTest : public EngineTest {
 protected:
  FactFunctionsTest() {
    Load(R"((deftemplate item (slot name) (slot price (type FLOAT)) (multislot tags))
            (deftemplate box (multislot items)))");
  }
  std::string FactText(std::int32_t id) {
    const Ref<IFact> fact = engine.GetFacts().GetFactByID(id);
    return fact ? fact->ToString() : "none";
  }
};

TEST_F(FactFunctionsTest, ModifyChangesSeveralSlotsAndMovesTheFact) {
  Load("(assert (item (name a) (price 1.5) (tags x y)))");
  ExpectShown({{"(modify 1 (name b) (tags (create$ p q) r))", "<Fact-2>"}});
  EXPECT_EQ(FactText(1), "none");
  EXPECT_EQ(FactText(2), "(item (name b) (price 1.5000) (tags p q r ))");
  ExpectShown({{"(modify 2 (tags (create$)))", "<Fact-3>"}});
  EXPECT_EQ(engine.GetFacts().GetFactByID(3)->GetValue("tags")->GetAsList()->GetValueCount(), 0);
  ExpectError("(modify 2 (name c))", "No Such Fact with ID=2 exists");
}

TEST_F(FactFunctionsTest, AFailingModifyLeavesTheFactWhereItWas) {
  engine.SetTypeChecks({tcStatic, tcDynamic});
  Load(R"((assert (item (name a) (price 1.5)))
          (deffunction drop (?id) (retract ?id) b)
          (deffunction reprice (?id ?price) (modify ?id (name z) (price ?price))))");
  ExpectError("(reprice 1 cheap)", "price slot");
  EXPECT_EQ(FactText(1), "(item (name a) (price 1.5000))");
  // An integer becomes a float on its way in, and the variable's cell stays what it was.
  Load("(bind ?p 2)");
  ExpectShown({{"(reprice 1 ?p)", "<Fact-2>"}, {"(get-type ?p)", "dtInteger"}});
  EXPECT_EQ(FactText(2), "(item (name z) (price 2.0000))");
  ExpectError("(modify 2 (name (drop 2)))", "No Such Fact with ID=2 exists");
}

TEST_F(FactFunctionsTest, GetSlotValueGivesACopy) {
  Load("(assert (item (name a) (tags x y)) (plain p q))");
  ExpectShown({
      {"(get-slot-value 1 name)", "a"},
      {"(get-slot-value 1 tags)", "x y "},
      {"(get-slot-value 2)", "p q "},
  });
  const Ref<IKBValue> copy = engine.ParseNExecuteFunCall("(get-slot-value 1 tags)");
  copy->GetAsList()->Clear();
  ExpectShown({{"(get-slot-value 1 tags)", "x y "}});
  ExpectError("(get-slot-value a name)",
              "Invalid argument type for deffunction: \"dtAtom\".  Expected FactId, Fact");
  ExpectError("(get-slot-value 1 nothing)", "No such slot name: \"nothing\"");
}

}  // namespace
}  // namespace reasoner
