// What the plain meaning costs beside the literal one, on programs that do the same in both.

#include <benchmark/benchmark.h>

#include <string>

#include "bench/EngineBench.h"

namespace bench {

using namespace reasoner;

namespace {

struct Program {
  const char* name;
  const char* text;
  std::int32_t fired;  // by a run, in both meanings
};

// Loops of the rules are bounded by the facts (n I), I from 0 to 1999, that each engine gets.
constexpr Program kPrograms[] = {
    {"Calls",
     "(deffunction fib (?n) (if (< ?n 2) then ?n else (+ (fib (- ?n 1)) (fib (- ?n 2)))))"
     "(deffunction sum (?a ?b ?c) (+ ?a (* ?b ?c)))"
     "(defrule call (n ?i) => (sum ?i 2 3) (if (= (mod ?i 100) 0) then (fib 12)))",
     2000},
    {"Logic", "(defrule any (n ?i) (test (or (> ?i 5) (= ?i 1))) => (or (= ?i 2) (> ?i 3)))", 1995},
    {"Joins",
     "(defrule two (n ?i) => (assert (m ?i)))"
     "(defrule join (n ?i) (m ?i) => )",
     4000},
    {"Negation", "(defrule none (n ?i) (not (m ?i)) => (assert (m ?i)))", 2000},
    {"Unique", "(defrule first (n ?i) (unique (n ?i)) => )", 2000},
    {"Spans", "(defrule item (list $? ?x $?) => )", 6},
    {"Actions",
     "(defrule cycle ?f <- (n ?i) => (retract ?f) (assert (m ?i)))"
     "(defrule end ?f <- (m ?i) => (retract ?f))",
     4000},
};

void Run(benchmark::State& state, const Program& program, bool plain) {
  std::string facts = "(deffacts numbers (list a b c d e f)";
  for (std::int32_t i = 0; i < 2000; ++i) facts += " (n " + std::to_string(i) + ")";
  TReasoner engine;
  engine.SetTextbookSemantics(plain);
  engine.Parse(program.text + facts + ")", true);
  for (auto _ : state) {
    engine.Reset();
    if (engine.Run() != program.fired) state.SkipWithError("another number of rules has fired");
  }
  state.SetItemsProcessed(state.iterations() * program.fired);
}

const bool registered = [] {
  for (const Program& program : kPrograms) {
    for (const bool plain : {false, true}) {
      const std::string name = std::string(program.name) + (plain ? "/plain" : "/literal");
      benchmark::RegisterBenchmark(name.c_str(), [&program, plain](benchmark::State& state) {
        Run(state, program, plain);
      })->Unit(benchmark::kMillisecond);
    }
  }
  return true;
}();

}  // namespace

}  // namespace bench
