// What the built-in functions do with their engine and with its host; what is nothing but language
// stands in tests/language.

#include <set>
#include <stdexcept>

#include "reasoner/library/Packages.h"
#include "reasoner/support/Numbers.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

TEST(PackagesTest, EveryFunctionKeepsToItsBounds) {
  std::set<std::string> names;
  for (int kind = pStandard; kind <= pFuzzyLogic; ++kind) {
    const std::unique_ptr<TUserPackage> package(
        MakePackage(static_cast<TFunctionPackage>(kind), nullptr));
    if (!package) continue;
    for (const Ref<IUserFunction>& function : package->GetFunctions()) {
      const std::string name = function->GetFunctionName().str();
      EXPECT_TRUE(names.insert(name).second) << name << " stands twice";
      // The number of arguments is checked before any is evaluated, so any will do.
      const auto failure_with = [&function](std::int32_t count) {
        const Ref<IFunCall> call = Make<TFunctionCall>(nullptr, function->GetFunctionName());
        for (std::int32_t i = 0; i < count; ++i) call->AddArgument(NewAtom("x"));
        TKBContext nowhere(nullptr, nullptr);
        Ref<IKBValue> result;
        return FailureOf([&] { function->Invoke(*call, nowhere, result); });
      };
      if (function->GetMinArgumentCount() > 0) {
        EXPECT_EQ(failure_with(function->GetMinArgumentCount() - 1),
                  "Too few arguments for " + name);
      }
      if (function->GetMaxArgumentCount() < kNoArgumentLimit) {
        EXPECT_EQ(failure_with(function->GetMaxArgumentCount() + 1),
                  "Too many arguments for " + name);
      }
    }
  }
}

class PackageWiringTest : public EngineTest {};

TEST_F(PackageWiringTest, AFunctionThatNeedsAnEngineSaysSo) {
  const Ref<IUserFunction> function = engine.GetUserFunction("gensym*");
  TKBContext nowhere(nullptr, nullptr);
  Ref<IKBValue> result;
  try {
    function->Invoke(*Make<TFunctionCall>(nullptr, "gensym*"), nowhere, result);
    ADD_FAILURE() << "a symbol out of nowhere";
  } catch (const EKBException& failure) {
    EXPECT_STREQ(failure.what(), "Unknown/Undefined Reasoner");
  }
}

TEST_F(PackageWiringTest, AQuestionTakesTheKindOfItsNewName) {
  const Ref<IUserFunction> question = engine.GetUserFunction("is-defrule");
  ExpectShown({{"(is-defrule bind)", "FALSE"}});
  engine.RemoveUserFunction(*engine.GetUserFunction("is-deffunction"));
  question->SetFunctionName("is-deffunction");
  ExpectShown({{"(is-deffunction bind)", "TRUE"}});
  EXPECT_FALSE(engine.ContainsUserFunction("is-defrule"));
}

class MathFunctionsTest : public EngineTest {};

TEST_F(MathFunctionsTest, RandomNumbersLieInTheirRangeAndFollowTheSeed) {
  for (int i = 0; i < 200; ++i) {
    const std::int32_t number = engine.ParseNExecuteFunCall("(random 5 10)")->GetAsInteger();
    ASSERT_GE(number, 5);
    ASSERT_LT(number, 15);
    const std::int32_t bounded = engine.ParseNExecuteFunCall("(random 3)")->GetAsInteger();
    ASSERT_GE(bounded, 0);
    ASSERT_LT(bounded, 3);
  }
  ExpectShown({{"(randomize 42)", "TRUE"}});
  const std::string first = Show("(random)");
  const std::string second = Show("(random)");
  ExpectShown({{"(seed 42)", "TRUE"}, {"(random)", first}, {"(random)", second}});
  TReasoner other;
  other.ParseNExecuteFunCall("(seed 42)");
  Load("(seed 42) (random)");
  EXPECT_EQ(other.ParseNExecuteFunCall("(random)")->ToString(), first);
  ExpectShown({{"(random)", second}});  // each engine has numbers of its own
}

class MultifieldFunctionsTest : public EngineTest {};

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

class ControlFunctionsTest : public EngineTest {};

TEST_F(ControlFunctionsTest, ExitAndInterruptionPassEveryTry) {
  EXPECT_THROW(Show("(try (exit) finally (printout t out) catch (printout t caught))"), EAbort);
  EXPECT_EQ(TakeOutput(), "out");
  const auto stop = HostFunction("stop", [this] { engine.RequestInterrupt(); });
  const char* const endless = "(try (stop) (while TRUE do 1) finally (printout t out) catch 1)";
  EXPECT_THROW(Show(endless), EKBInterrupted);
  EXPECT_EQ(TakeOutput(), "out");
  // The request is spent.
  ExpectShown({{"(+ 1 1)", "2"}});
}

TEST_F(ControlFunctionsTest, TryCatchesAHostsExceptions) {
  TUserFunction fail(nullptr);
  fail.SetFunctionName("fail");
  fail.SetEngine(&engine);
  fail.OnCall = [](auto&, const IFunCall& call, TKBContext&, Ref<IKBValue>&) {
    if (call.GetArgumentCount() > 0) throw 1;
    throw std::runtime_error("from the host");
  };
  Check(R"(
    (try (fail) catch ?__ERROR)  ; expect: "from the host"
    (try (fail 1) catch ?__ERROR)  ; expect: "Unknown failure" )");
}

class CompareFunctionsTest : public EngineTest {};

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
  Check(R"(
    (assert (item (name a) (tags x y)) (plain p q))
    (get-slot-value 1 name) (get-slot-value 1 tags) (get-slot-value 2)  ; values: a, x y, p q )");
  const Ref<IKBValue> copy = engine.ParseNExecuteFunCall("(get-slot-value 1 tags)");
  copy->GetAsList()->Clear();
  ExpectShown({{"(get-slot-value 1 tags)", "x y "}});
  ExpectError("(get-slot-value a name)",
              "Invalid argument type for deffunction: \"dtAtom\".  Expected FactId, Fact");
  ExpectError("(get-slot-value 1 nothing)", "No such slot name: \"nothing\"");
}

class ConstructFunctionsTest : public EngineTest {};

TEST_F(ConstructFunctionsTest, Listings) {
  ExpectPrinted("(list-defrules)", "for a total of 0 rules.\n");
  Load(R"((deffacts b (x)) (deffacts a (x)) (deftype t extends (type INTEGER))
          (defrule r2 (x) =>) (defrule r1 (x) =>) (defglobal ?*g* = 1) (bind ?v 1)
          (deffunction inner (?v ?w) (list-bindings)))");
  ExpectPrinted("(list-defrules)", "r1\nr2\nfor a total of 2 rules.\n");
  ExpectPrinted("(list-deftemplates)",
                "Initial-Fact\n__NOT-OR-TEST-CE*\nx\nfor a total of 3 deftemplates.\n");
  ExpectPrinted("(list-defglobals)", "*g*\nfor a total of 1 bindings.\n");
  ExpectPrinted("(list-bindings)", "*g*\nv\nfor a total of 2 bindings.\n");
  ExpectPrinted("(inner 1 2)", "*g*\nv\nv\nw\nfor a total of 4 bindings.\n");
  TakeOutput();
  Show("(list-deffunctions)");
  const std::string total = "\nfor a total of " +
                            std::to_string(engine.GetUserFunctions().GetCount()) +
                            " deffunctions.\n";
  EXPECT_TRUE(output.ends_with(total)) << output.substr(output.size() - 60);
  EXPECT_NE(output.find("\ninner\n"), std::string::npos);
}

TEST_F(ConstructFunctionsTest, Facts) {
  Load("(assert (a) (b) (c)) (retract 2) (assert (b))");
  ExpectPrinted("(facts)",
                "f-0 (Initial-Fact)\nf-1 (a)\nf-3 (c)\nf-4 (b)\nFor a total of 4 facts.\n");
  ExpectPrinted("(facts 1)", "f-1 (a)\nf-3 (c)\nf-4 (b)\nFor a total of 3 facts.\n");
  ExpectPrinted("(facts 1 3)", "f-1 (a)\nf-3 (c)\nFor a total of 2 facts.\n");
  ExpectPrinted("(facts 1 3 1)", "f-1 (a)\nFor a total of 1 facts.\n");
  ExpectPrinted("(facts 0 9 -1)", "For a total of 0 facts.\n");
}

TEST_F(ConstructFunctionsTest, Agenda) {
  ExpectPrinted("(agenda)", "for a total of 0 activations.\n");
  Load("(defrule r (a ?) =>) (assert (a 1) (a 2))");
  std::string entries;
  for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
    entries += engine.GetActivation(i).GetEntryText() + "\n";
  }
  ExpectPrinted("(agenda)", entries + "for a total of 2 activations.\n");
}

TEST_F(ConstructFunctionsTest, RulesCanGoToANamedStream) {
  ExpectPrinted("(rules)", "For a total of 0 rules.\n");
  Load("(defrule b (a $?x) =>) (defrule a (a $?x) =>)");
  auto memory = std::make_unique<TKitStringStream>();
  TKitStringStream& stream = *memory;
  engine.GetIOStreams().Add("log", std::make_unique<TGTextStream>(std::move(memory)));
  TakeOutput();
  ExpectShown({{"(rules log)", "TRUE"}, {"(rules)", "TRUE"}});
  engine.GetIOStreams().Flush();
  EXPECT_EQ(stream.GetText(), output);
  EXPECT_LT(output.find("(defrule a"), output.find("(defrule b"));
  EXPECT_NE(output.find("\nFor a total of 2 rules.\n"), std::string::npos);
}

TEST_F(ConstructFunctionsTest, ParseTellsWhetherItWentWell) {
  Check(R"-(
    (parse "(bind ?x 5) (deffunction g () 9)") (+ ?x (g))  ; values: 5, TRUE, 14
    (parse "(bind ?x 6) (/ 1 0) (bind ?x 7)") (parse "(((") (+ ?x 0)  ; values: 6, FALSE, FALSE, 6 )-");
  EXPECT_THROW(Show("(parse \"(exit)\")"), EAbort);
}

TEST_F(ConstructFunctionsTest, GuardKeepsTheRuleFromActivatingItself) {
  Load(R"((deftemplate c (slot n))
          (defrule up ?c <- (c (n ?n)) => (guard (modify ?c (n (+ ?n 1)))))
          (defrule see (c (n ?n)) => (printout t ?n " ")))");
  Load("(assert (c (n 1)))");
  ExpectShown({{"(run 50)", "3"}, {"(guard 1 (+ 1 1))", "2"}});
  EXPECT_TRUE(engine.GetRules().Find("up")->Enabled);
  // Put back after a failure as well, and the rule may end meanwhile.
  Load("(defrule up (c (n ?n)) => (guard (/ 1 0)))");
  EXPECT_THROW(engine.Run(), EKBException);
  EXPECT_TRUE(engine.GetRules().Find("up")->Enabled);
  Load("(defrule up (c (n ?n)) => (guard (undefrule up)) (printout t done))");
  engine.Run();
  EXPECT_EQ(TakeOutput().substr(0, 4), "done");
  EXPECT_EQ(engine.GetRules().Find("up"), nullptr);
}

class EngineFunctionsTest : public EngineTest {};

TEST_F(EngineFunctionsTest, StorageAndSettings) {
  Check(R"(
    (bind ?k key) (bind ?n nil)
    (fetch unknown) (store ?k 1) (fetch key)  ; values: 1, 1
    ; The argument of fetch is a name, not an expression.
    (fetch ?k) (store k 2) (fetch ?k) (store empty ?n) (fetch empty)  ; values: 2, 2 )");
  EXPECT_TRUE(engine.GetEngineVariables().ContainsKey("empty"));
  Check(R"(
    (clear-storage) (fetch key) (__get-var (sym-cat k))  ; values: TRUE, key
    (set-reset-globals 5) (set-reset-globals)  ; values: 5, FALSE
    (watch birds)  ; error: Cannot watch birds )");
}

TEST_F(EngineFunctionsTest, SymbolsGoUpByOneThroughResetAndClear) {
  const std::string first = Show("(gensym*)");
  ASSERT_EQ(first.substr(0, 3), "gen");
  const int number = std::stoi(first.substr(3));
  Load("(reset)");
  EXPECT_EQ(Show("(gensym*)"), "gen" + std::to_string(number + 1));
  Load("(clear)");
  EXPECT_EQ(Show("(gensym*)"), "gen" + std::to_string(number + 2));
}

}  // namespace
}  // namespace reasoner
