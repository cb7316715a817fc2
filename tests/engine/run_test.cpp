#include <atomic>
#include <thread>

#include "reasoner/functions/HostFunction.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class RunTest : public EngineTest {
 protected:
  RunTest() {
    engine.OnStartInference = [this](TReasoner&) { events += "start "; };
    engine.OnEndInference = [this](TReasoner&, std::int32_t fired) {
      events += "end" + std::to_string(fired) + " ";
    };
  }
  // Five activations that print their number.
  void FillAgenda() {
    Load("(defrule r (a ?x) => (printout t ?x)) (assert (a 5) (a 4) (a 3) (a 2) (a 1))");
  }

  struct Locked {
    explicit Locked(TReasoner& locked) : engine(locked) { engine.Lock(); }
    ~Locked() { engine.Unlock(); }
    TReasoner& engine;
  };

  std::string events;
};

TEST_F(RunTest, AFailurePlaceIsOfTheLastFailureAlone) {
  const auto place = [this] {
    const TFailurePlace& failure = engine.GetFailurePlace();
    return std::to_string(failure.line) + ":" + std::to_string(failure.column) + " " + failure.rule;
  };
  const auto fails = [this](const std::string& text) {
    FailureOf([&] { engine.Parse(text, true); });
  };
  Load("(defrule r (a) => (/ 1 0))");
  fails("(assert (a))\n (run)");
  EXPECT_EQ(place(), "2:6 r");
  fails("(assert (a))\n (try (run) catch (printout t caught)) (sqrt no)");
  EXPECT_EQ(place(), "2:48 ") << "the rule's failure was caught before";
  engine.Assert("(b)");
  EXPECT_EQ(place(), "0:0 ");
  for (const auto& next : std::vector<std::function<void()>>{
           [&] { engine.Assert(engine.ParseFact("(c)")); }, [&] { engine.Run(); },
           [&] { engine.Reset(); }, [&] { engine.Clear(); }, [&] { engine.Parse("1", true); }}) {
    fails("(no-such)");
    EXPECT_EQ(place(), "1:9 ");
    next();
    EXPECT_EQ(place(), "0:0 ");
  }
  // A part of something longer.
  FailureOf([&] { engine.Parse(" (sqrt no)\n(no-such)", true, {"page", 7, 20}); });
  EXPECT_EQ(engine.GetFailurePlace().file + " " + place(), "page 7:29 ");
}

TEST_F(RunTest, AFailingActionIsTakenOffAndTheRestWaits) {
  Load(
      "(defrule r (a ?x) => (printout t ?x) (if (= ?x 2) then (sqrt no)) (printout t \".\"))"
      "(assert (a 3) (a 2) (a 1))");
  engine.Watch = {cwActivation};
  EXPECT_NE(FailureOf([&] { engine.Run(); }).find("Not a numeric type"), std::string::npos);
  EXPECT_EQ(TakeOutput(), "1.<== Activation: r : f-3\n2<== Activation: r : f-2\n");
  EXPECT_EQ(events, "start ") << "the end of a failed run is not reported";
  EXPECT_EQ(engine.GetRulesFired(), 1) << "nor is the failed firing counted";
  EXPECT_EQ(engine.GetFailurePlace().rule, "r");
  EXPECT_EQ(engine.GetCurrentActivation(), nullptr);
  EXPECT_EQ(engine.GetFacts().GetCount(), 4);
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  engine.Watch = {};
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_EQ(TakeOutput(), "3.");
}

TEST_F(RunTest, WatchLinesStandInTheOrderOfWhatHappens) {
  Load(
      "(defrule chain (a ?x) => (assert (b ?x)) (printout t said \" \") (retract 1))"
      "(defrule next (b ?x) =>)");
  engine.Watch = {cwFact, cwActivation, cwRule};
  engine.Assert("(a 1)");
  EXPECT_EQ(TakeOutput(), " ==> f-1 (a 1 )\n==> Activation: 0 chain : f-1 (1.0000)\n");
  engine.Run(1);
  EXPECT_EQ(TakeOutput(),
            "FIRE 0 chain f-1\n"
            " ==> f-2 (b 1 )\n==> Activation: 0 next : f-2 (1.0000)\n"
            "said "
            "<== Activation: chain : f-1\n <== f-1 (a 1 )\n");
  engine.Run();
  EXPECT_EQ(TakeOutput(), "FIRE 0 next f-2\n<== Activation: next : f-2\n")
      << "each run counts its firings from 0";
  engine.Assert("(a 2)");
  engine.Assert("(a 3)");
  TakeOutput();
  engine.Watch = {cwRule};
  engine.Run();
  EXPECT_EQ(TakeOutput(),
            "FIRE 0 chain f-4\nsaid FIRE 1 next f-5\nFIRE 2 chain f-3\nsaid FIRE 3 next f-6\n");
}

TEST_F(RunTest, StatisticsAreFourLinesOfARunThatFired) {
  FillAgenda();
  engine.Watch = {cwStatistics};
  engine.Run();
  const std::string text = TakeOutput().substr(5);
  EXPECT_EQ(text.substr(0, 32), "5 rules fired.     Run time is 0");
  EXPECT_NE(text.find(" seconds\n"), std::string::npos);
  EXPECT_NE(text.find(" rules per second\n"), std::string::npos);
  EXPECT_NE(text.find("6.0000 mean number of facts (6 maximum)\n"), std::string::npos) << text;
  EXPECT_NE(text.find("2.0000 mean number of activations (5 maximum)\n"), std::string::npos)
      << text;
  engine.Run();
  EXPECT_EQ(TakeOutput(), "") << "a run that fires nothing prints nothing";
  Load("(assert (a 9))");
  engine.OnPrintOut = nullptr;
  engine.Watch = kAllWatches;
  EXPECT_EQ(engine.Run(), 1);
}

TEST_F(RunTest, AnInterruptionFromAnotherThreadEndsTheRunAndTheNextOneGoesOn) {
  std::atomic<bool> spinning{false};
  const auto spin = HostFunction("spin", [&spinning] { spinning = true; });
  FillAgenda();
  Load("(defrule forever (declare (salience 3)) (go) => (while TRUE do (spin))) (assert (go))");
  std::thread other([this, &spinning] {
    while (!spinning) std::this_thread::yield();
    engine.RequestInterrupt();
  });
  EXPECT_NE(FailureOf([&] { engine.Run(); }), "no failure");
  other.join();
  EXPECT_EQ(engine.Run(), 5);
}

TEST_F(RunTest, AnotherThreadGetsInBetweenTwoFirings) {
  Load(
      "(deftemplate tick (slot n))"
      "(defrule tick ?f <- (tick (n ?n)) (not (stop)) => (modify ?f (n (+ ?n 1))))"
      "(assert (tick (n 0)))");
  std::int32_t seen = -1;
  std::thread other([this, &seen] {
    for (;;) {
      std::this_thread::yield();
      const Locked lock(engine);
      if (engine.GetRulesFired() < 50) continue;
      EXPECT_EQ(engine.GetCurrentActivation(), nullptr) << "never inside a firing";
      seen = engine.GetRulesFired();
      engine.Assert("(stop)");
      return;
    }
  });
  const std::int32_t fired = engine.Run();
  other.join();
  EXPECT_EQ(fired, seen);
}

}  // namespace
}  // namespace reasoner
