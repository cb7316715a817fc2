// A host that changes everything from every event, and throws from every event, ends with a sound
// engine.

#include <random>

#include "tests/support/EngineFixture.h"
#include "tests/support/Integrity.h"

namespace reasoner {
namespace {

class StressTest : public ::testing::TestWithParam<unsigned> {
 protected:
  std::uint32_t Draw(std::uint32_t below) { return static_cast<std::uint32_t>(random_() % below); }

  std::string RandomFact() {
    static constexpr const char* kNames[] = {"a", "b", "c"};
    return "(" + std::string(kNames[Draw(3)]) + " " + std::to_string(Draw(4)) + ")";
  }

  std::string RandomRule() {
    static constexpr const char* kPatterns[] = {
        "(a ?x)",          "(b ?x)", "(c ?y)",  "(not (b ?x))",   "(not (c ?z))",
        "(exists (a ?w))", "(a ~2)", "(b 1|3)", "(test (= 1 1))", "(not (a ?v&:(> ?v 1)))"};
    static constexpr const char* kActions[] = {
        "(assert (c 1))",       "(retract *)",    "(halt)", "(+ 1 x)",
        "(assert (a 3) (b 3))", "(undefrule r0)", "(reset)"};
    std::string text = "(defrule r" + std::to_string(Draw(5)) + " (declare (salience " +
                       std::to_string(static_cast<int>(Draw(3)) - 1) + ")" +
                       (Draw(6) == 0 ? " (oneshot TRUE)" : "") + ")";
    const std::uint32_t count = 1 + Draw(3);
    // The first pattern binds ?x, so that every later one may use it.
    text += Draw(2) == 0 ? " (a ?x)" : " (b ?x)";
    for (std::uint32_t i = 1; i < count; ++i) text += std::string(" ") + kPatterns[Draw(10)];
    return text + " => " + kActions[Draw(7)] + ")";
  }

  // One thing that a host may do. What is refused or fails is the engine's right.
  void Act(TReasoner& engine) {
    if (depth_ > 3 || budget_ <= 0) return;
    --budget_;
    ++depth_;
    try {
      switch (Draw(9)) {
        case 0:
        case 1:
        case 2:
          engine.Assert(RandomFact());
          break;
        case 3:
        case 4:
          engine.Retract(RandomFact());
          break;
        case 5:
          engine.Parse(RandomRule(), true);
          break;
        case 6:
          engine.Parse("(undefrule r" + std::to_string(Draw(5)) + ")", true);
          break;
        case 7:
          engine.Run(static_cast<std::int32_t>(Draw(3)));
          break;
        case 8:
          if (Draw(10) == 0) engine.SetStrategy(Draw(2) == 0 ? ssDepthFirst : ssBreadthFirst);
          if (Draw(20) == 0) engine.Clear();
          if (Draw(10) == 0) engine.Reset();
          break;
      }
    } catch (const std::exception&) {
    }
    --depth_;
  }

  void FromEvent(TReasoner& engine) {
    if (Draw(3) == 0) Act(engine);
    if (!throws_ || Draw(12) != 0) return;
    if (Draw(3) == 0) throw EAbort();
    throw EKBException("the host refuses");
  }

  void Attach(TReasoner& engine) {
    const auto act = [this](TReasoner& sender) { FromEvent(sender); };
    engine.OnAddActivation = [act](TReasoner& sender, std::int32_t, TActivation&) { act(sender); };
    engine.OnRemoveActivation = [act](TReasoner& sender, std::int32_t, TActivation&) {
      act(sender);
    };
    engine.OnAssertion = [act](TReasoner& sender, const Ref<IFact>&) { act(sender); };
    engine.OnRetraction = [act](TReasoner& sender, const Ref<IFact>&) { act(sender); };
    engine.OnAddRule = [act](TReasoner& sender, TRule&) { act(sender); };
    engine.OnRemoveRule = [act](TReasoner& sender, TRule&) { act(sender); };
    engine.OnRuleFired = [act](TReasoner& sender, TRule&) { act(sender); };
    engine.OnClearFacts = act;
    engine.OnReset = act;
    engine.OnStartInference = act;
    engine.OnEndInference = [act](TReasoner& sender, std::int32_t) { act(sender); };
    engine.OnPrintOut = [act](TReasoner& sender, const std::string&, const std::string&) {
      act(sender);
    };
    engine.Watch = kAllWatches;
  }

  void RunCase(bool throws) {
    random_.seed(GetParam());
    throws_ = throws;
    TReasoner engine;
    Attach(engine);
    for (int step = 0; step < 60; ++step) {
      budget_ = 40;
      Act(engine);
      CheckIntegrity(engine,
                     "seed " + std::to_string(GetParam()) + " step " + std::to_string(step));
      if (HasFailure()) return;
    }
    // With all facts gone nothing is left in any memory.
    budget_ = 0;
    throws_ = false;
    engine.GetFacts().Clear();
    EXPECT_EQ(engine.GetAgendaCount(), 0);
    for (const TReteNode* node : engine.GetReteNetwork().GetNodes()) {
      const auto* join = dynamic_cast<const TJoinNode*>(node);
      if (join == nullptr) continue;
      EXPECT_EQ(join->GetLeftMemory()->GetCount() + join->GetRightMemory()->GetCount(), 0u);
    }
  }

  std::mt19937 random_;
  int depth_ = 0;
  int budget_ = 0;
  bool throws_ = false;
};

TEST_P(StressTest, EventsThatChangeEverything) { RunCase(false); }

TEST_P(StressTest, EventsThatChangeEverythingAndThrow) { RunCase(true); }

INSTANTIATE_TEST_SUITE_P(Seeds, StressTest, ::testing::Range(1u, 61u));

}  // namespace
}  // namespace reasoner
