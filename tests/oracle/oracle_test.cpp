// The network against the brute-force reading, on random programs.
//
// The gate runs a fixed number of programs with fixed seeds. A longer run is a matter of
// environment variables:
//
//   REASONER_ORACLE_PROGRAMS=1000000 REASONER_ORACLE_SEED=50000
//   reasoner-tests --gtest_filter='*Oracle*Random*'

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "tests/oracle/Generator.h"
#include "tests/oracle/Runner.h"

namespace reasoner::oracle {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr std::uint64_t kPrograms = 150;  // a shard: sanitizers cost a factor of twenty
#else
constexpr std::uint64_t kPrograms = 2500;
#endif
constexpr std::uint64_t kShards = 4;  // for each of the two semantics: 20,000 programs in all

std::uint64_t Setting(const char* name, std::uint64_t usual) {
  const char* value = std::getenv(name);
  return value == nullptr ? usual : std::strtoull(value, nullptr, 10);
}

struct TShard {
  bool textbook;
  std::uint64_t number;
};

// What the programs of a shard must hold, each some of them.
constexpr const char* kFeatures[] = {
    "(not (",      "(not (not (", "(unique ", "(test ",
    "?f0 <- ",     "$?m",         "|",        "&:(",
    "=(",          "?*",          "nil",      "-0.0",
    "\"1\"",       "hot",         "(must ",   "(pick ",
    "(retract ",   "(modify ",    "(if ",     "(bind ",
    "(duplicate ", "(reset)",     "(clear)",  "(undefrule ",
    "(deffacts",   "(use-ids",    "breadth",  "(set-fact-duplication"};

class OracleTest : public ::testing::TestWithParam<TShard> {};

TEST_P(OracleTest, RandomProgramsMatchAsTheyRead) {
  const bool textbook = GetParam().textbook;
  const std::uint64_t first = Setting("REASONER_ORACLE_SEED", 1);
  const std::uint64_t count = Setting("REASONER_ORACLE_PROGRAMS", kPrograms * 2 * kShards) / 2;
  std::int64_t programs = 0;
  std::int64_t firings = 0;
  std::int64_t having[std::size(kFeatures)] = {};
  for (std::uint64_t i = GetParam().number; i < count; i += kShards) {
    const std::uint64_t seed = first + i;
    const TProgram program = Generate(seed, textbook);
    const TOutcome outcome = RunProgram(program, textbook);
    ++programs;
    firings += outcome.firings;
    std::transform(std::begin(kFeatures), std::end(kFeatures), having, having,
                   [&outcome](const char* feature, std::int64_t sum) {
                     return sum + (outcome.script.find(feature) == std::string::npos ? 0 : 1);
                   });
    if (outcome.difference.empty()) continue;
    const TProgram smallest = Shrink(program, [textbook](const TProgram& smaller) {
      return !RunProgram(smaller, textbook, true).difference.empty();
    });
    const TOutcome shown = RunProgram(smallest, textbook, true);
    FAIL() << "seed " << seed << (textbook ? ", textbook" : "") << "\n; " << outcome.difference
           << "\n; cut down: " << shown.difference << "\n"
           << shown.script;
  }
  if (programs < 1000) return;
  EXPECT_GT(firings, programs);
  for (std::size_t i = 0; i < std::size(kFeatures); ++i)
    EXPECT_GT(having[i], programs / 200) << kFeatures[i];
}

INSTANTIATE_TEST_SUITE_P(Random, OracleTest,
                         ::testing::Values(TShard{false, 0}, TShard{false, 1}, TShard{false, 2},
                                           TShard{false, 3}, TShard{true, 0}, TShard{true, 1},
                                           TShard{true, 2}, TShard{true, 3}),
                         [](const ::testing::TestParamInfo<TShard>& shard) {
                           return std::string(shard.param.textbook ? "Textbook" : "Own") +
                                  std::to_string(shard.param.number);
                         });

}  // namespace
}  // namespace reasoner::oracle
