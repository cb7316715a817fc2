#include <atomic>
#include <thread>

#include "tests/support/EngineFixture.h"

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

TEST_F(RunTest, ASecondRequestFromAnotherThreadEndsTheRunInsideAFiring) {
  std::atomic<int> turns{0};
  const auto spin = HostFunction("spin", [&turns] { ++turns; });
  FillAgenda();
  Load("(defrule forever (declare (salience 3)) (go) => (while TRUE do (spin))) (assert (go))");
  std::thread other([this, &turns] {
    for (int request = 0; request < 2; ++request) {
      const int seen = turns;
      while (turns < seen + 100) std::this_thread::yield();
      engine.RequestInterrupt();
    }
  });
  EXPECT_EQ(FailureOf([&] { engine.Run(); }),
            "Execution was interrupted inside the firing of rule forever");
  other.join();
  EXPECT_EQ(engine.Run(), 5);
}

// The host asks for the end at some call of `tick`, of which there are some in actions, tests,
// saliences and loops. The run that goes on must end as one that nobody interrupted.
TEST_F(RunTest, AnInterruptedRunGoesOnWhereItStopped) {
  std::int32_t ticks = 0;
  std::int32_t wanted = -1;
  const auto tick = HostFunction("tick", [&] {
    if (++ticks == wanted) engine.RequestInterrupt();
  });
  const std::string program = R"(
      (deftemplate job (slot id) (slot left))
      (deffunction urgent () (tick) 1)
      (deffunction above (?a ?b) (tick) (> ?a ?b))
      (deffunction some (?n) (bind ?i 0) (while (< ?i ?n) do (tick) (bind ?i (+ ?i 1))) ?i)
      (defrule work (declare (salience (urgent))) ?j <- (job (id ?i) (left ?l&:(above ?l 0))) =>
        (tick) (modify ?j (left (- ?l (some 1)))) (tick) (printout t ?i "-" ?l " "))
      (defrule done ?j <- (job (id ?i) (left 0)) (not (job (id ?k&:(above ?k ?i)))) =>
        (retract ?j) (some 3) (assert (was ?i)) (assert (also ?i)) (printout t "done" ?i " "))
      (defrule pair (declare (salience -1)) (was ?a) (also ?b&:(above ?a ?b)) =>
        (printout t ?a ?b " ") (assert (pair ?a ?b (some 2))))
      (deffacts jobs (job (id 1) (left 2)) (job (id 2) (left 3)) (job (id 3) (left 1))))";
  std::uint32_t random = 1;
  for (std::int32_t setting = 0; setting < 4; ++setting) {
    std::string whole;
    std::int32_t moments = 0;
    for (std::int32_t round = 0; round <= 50; ++round) {
      engine.Clear();
      engine.SetTextbookSemantics(setting % 2 == 1);
      engine.SalienceEvaluation = setting < 2 ? sActivate : sEveryTime;
      Load(program);
      engine.Reset();
      ticks = 0;
      random = random * 1664525 + 1013904223;
      wanted =
          round == 0
              ? -1
              : static_cast<std::int32_t>(1 + (random >> 8) % static_cast<std::uint32_t>(moments));
      std::int32_t interruptions = 0;
      std::string failure;
      while ((failure = FailureOf([&] { engine.Run(); })) != "") {
        ASSERT_EQ(failure, "Execution was interrupted") << "at " << wanted;
        ASSERT_LT(++interruptions, 2);
      }
      const std::string end = TakeOutput() + Facts();
      if (round == 0) {
        whole = end;
        moments = ticks;
        ASSERT_GT(moments, 60);
      }
      ASSERT_EQ(end, whole) << "interrupted at " << wanted;
    }
  }
}

TEST_F(RunTest, ARequestThatFindsNothingRunningIsForgotten) {
  FillAgenda();
  engine.RequestInterrupt();
  engine.RequestInterrupt();
  EXPECT_EQ(engine.Run(), 5);
  ExpectShown({{"(+ 1 1)", "2"}});
  // One that comes with the last firing has nothing to end.
  const auto stop = HostFunction("stop", [this] { engine.RequestInterrupt(); });
  Load("(defrule s (s ?) => (stop) (printout t s)) (assert (s 1) (s 2))");
  EXPECT_EQ(FailureOf([&] { engine.Run(); }), "Execution was interrupted");
  EXPECT_EQ(FailureOf([&] { engine.Run(); }), "");
  EXPECT_EQ(TakeOutput(), "ss");
  // What is no run ends at the first request, but not inside a match.
  EXPECT_EQ(FailureOf([&] { Load("(stop) (assert (t 1))"); }), "Execution was interrupted");
  Load("(deffunction stopping () (stop) TRUE) (defrule t (t ?x&:(stopping)) => )");
  EXPECT_EQ(FailureOf([&] { Load("(assert (t 2) (t (+ 1 2)))"); }), "Execution was interrupted");
  EXPECT_EQ(OnAgenda(), "t ");
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
