// The program: its options, its streams and its exit status.

#ifdef REASONER_CONSOLE

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/console/ConsoleRun.h"
#include "tests/support/TemporaryFolder.h"

namespace console_test {
namespace {

class ConsoleTest : public ::testing::Test {
 protected:
  // A file of that text; the answer is its path.
  std::string Write(const std::string& name, const std::string& text) const {
    folder_.Write(name, text);
    return folder_ / name;
  }

  static TRunResult Run(std::vector<std::string> arguments, const std::string& input = "") {
    arguments.insert(arguments.begin(), REASONER_CONSOLE);
    return RunProgram(arguments, input);
  }

  static void ExpectOutput(const std::vector<std::string>& arguments, const std::string& output,
                           const std::string& input = "") {
    const TRunResult result = Run(arguments, input);
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.status, 0);
  }

  reasoner::TemporaryFolder folder_;
};

TEST_F(ConsoleTest, FilesAndTextsAreReadInTheirOrder) {
  const std::string one = Write("one.clp", "(defglobal ?*trail* = one)\n");
  const std::string two = Write("two.clp", "(bind ?*trail* (sym-cat ?*trail* -two))\n");
  ExpectOutput({one, "-e", "(bind ?*trail* (sym-cat ?*trail* -text))", two, "-e", "?*trail*"},
               "one-text\none-text-two\none-text-two\n");
}

TEST_F(ConsoleTest, RunResetsFirstAndFiresAfterEverythingIsLoaded) {
  const std::string facts = Write("facts.clp", "(deffacts d (a 1))\n(assert (a 2))\n");
  const std::string rules =
      Write("rules.clp", "(defrule r (a ?x) => (printout t \"fired \" ?x crlf))\n");
  ExpectOutput({"--run", facts, rules}, "<Fact-1>\nfired 1\n");
  ExpectOutput({facts, rules}, "<Fact-1>\n");
}

TEST_F(ConsoleTest, PlotDrawsAFuzzyType) {
  const std::string rules = Write("fan.clp",
                                  "(deftype speed extends (type FUZZY) (range 0 100)\n"
                                  "  (values (term slow (z 10 60)) (term fast (s 40 90))))\n");
  const std::string picture = folder_ / "speed.svg";
  ExpectOutput({"--plot", "speed", picture, rules}, "");
  const std::string svg = ReadWholeFile(picture);
  EXPECT_EQ(svg.find("<svg "), 0u) << svg;
  EXPECT_NE(svg.find(">fast</text>"), std::string::npos) << svg;
  const TRunResult unknown = Run({"--plot", "colour", picture, rules});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.errors, "no fuzzy type to draw: colour\n");
  EXPECT_EQ(ReadWholeFile(picture), svg) << "the old picture stays";
  EXPECT_EQ(Run({"--plot", "speed"}).status, 2);
}

TEST_F(ConsoleTest, LimitAndStrategySteerTheRun) {
  const std::string rules = Write("rules.clp",
                                  "(deffacts d (n 1) (n 2) (n 3))\n"
                                  "(defrule r (n ?x) => (printout t ?x crlf))\n");
  ExpectOutput({"--run", "--limit", "2", "--strategy", "breadth", rules}, "1\n2\n");
  ExpectOutput({"--run", "--limit=1", "--strategy", "depth", rules}, "3\n");
  ExpectOutput({"--run", "--limit", "0", rules}, "");
}

TEST_F(ConsoleTest, WatchTellsWhatHappens) {
  const std::string rules = Write("rules.clp", "(defrule r ?f <- (a) => (retract ?f))\n");
  ExpectOutput({"--watch", "facts,rules", rules, "-e", "(assert (a)) (run)"},
               " ==> f-1 (a)\n<Fact-1>\nFIRE 0 r f-1\n <== f-1 (a)\n1\n");
  ExpectOutput({"--watch=activations", rules, "-e", "(assert (a)) (run)"},
               "==> Activation: 0 r : f-1 (1.0000)\n<Fact-1>\n<== Activation: r : f-1\n1\n");
}

TEST_F(ConsoleTest, StandardInputIsTheProgramWhenNothingIsNamed) {
  ExpectOutput({}, "3\n", "(+ 1 2)\n");
  ExpectOutput({"--run"}, "fired\n",
               "(deffacts d (a))\n(defrule r (a) => (printout t fired crlf))\n");
  const std::string file = Write("file.clp", "(bind ?x 4)\n");
  ExpectOutput({file, "-"}, "4\n5\n", "(+ ?x 1)\n");
}

// A failure is told, what follows is read all the same, and the exit status remembers it.
TEST_F(ConsoleTest, FailuresInStandardInput) {
  const std::string file = Write("file.clp", "(printout t file crlf)\n");
  const std::string foo = "5: Function is unimplemented or unassigned: foo\n";
  const struct {
    std::vector<std::string> arguments;
    std::string input, output, errors;
  } rows[] = {
      {{}, "(+ 1 2)\n(foo)\n(+ 3 4)", "3\n7\n", "2:" + foo},
      {{"--run", "-", file}, "(foo)(+ 3 4)", "7\n", "1:" + foo},
      {{}, "(foo)\n(exit)(+ 3 4)", "", "1:" + foo},
      {{},
       "\xEF\xBB\xBF(foo) ; (\r\n\r\n(foo) \"a \\\" (\"(+ 3 4)",
       "7\n",
       "1:" + foo + "3:" + foo +
           "3:7: Parsing Error, Unexpected symbol, expected a \"(\", constant, or global variable: "
           "\\\"a \" (\"\\ in GetConstructType at line 3: \\\"a \" (\"\\ \n"},
      {{}, "(+ 3 4)\n (+ 3 ", "7\n", "2:7: Parsing Error"},
      {{}, "(readline)\ndata\n(readline) (foo)\nmore", "\"data\"\n\"more\"\n", "3:16: Function"},
  };
  for (const auto& [arguments, input, output, errors] : rows) {
    const TRunResult result = Run(arguments, input);
    EXPECT_EQ(result.status, 1) << input;
    EXPECT_EQ(result.output, output) << input;
    EXPECT_EQ(result.errors.substr(0, errors.size()), errors) << input;
  }
}

TEST_F(ConsoleTest, ProgramsReadStandardInput) {
  const std::string file = Write("file.clp",
                                 "(printout t \"[\" (readline) \"]\" crlf)\n"
                                 "(printout t \"[\" (read) \"]\" crlf)\n"
                                 "(printout t \"[\" (readline t) \"]\" crlf)\n");
  ExpectOutput({file}, "[two words]\n[12]\n[last]\n", "two words\n12 dropped\nlast");
}

TEST_F(ConsoleTest, ExitEndsWithoutAnythingThatFollows) {
  const std::string file = Write("file.clp",
                                 "(printout t before crlf)\n"
                                 "(try (exit) catch (printout t caught crlf))\n"
                                 "(printout t after crlf)\n");
  const std::string next = Write("next.clp", "(printout t next crlf)\n");
  ExpectOutput({"--run", file, next, "-e", "(printout t text crlf)"}, "before\n");

  const std::string rules = Write("rules.clp",
                                  "(deffacts d (a 1) (a 2))\n"
                                  "(defrule r (a ?x) => (printout t ?x crlf) (exit))\n");
  ExpectOutput({"--run", rules}, "2\n");
}

TEST_F(ConsoleTest, FailureNamesItsPlaceAndEndsTheLoading) {
  const std::string bad = Write("bad.clp", "(printout t before crlf)\n(defrule r\n  (a) oops)\n");
  const std::string next = Write("next.clp", "(printout t next crlf)\n");
  const TRunResult result = Run({bad, next, "--run"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "before\n");
  EXPECT_EQ(result.errors.substr(0, bad.size() + 5), bad + ":3:11") << result.errors;
  EXPECT_NE(result.errors.find("Expected \"=>\" in ParseRule"), std::string::npos) << result.errors;
}

TEST_F(ConsoleTest, WhatIsDroppedAndWhatDoesNotFitIsTold) {
  const std::string file = Write("file.clp",
                                 "(deftemplate a (slot x))\n(assert (a (x 1)))\n"
                                 "(deftemplate a (slot y))\n(assert (a (x 2)))\n"
                                 "(defrule r (a (x 2)) =>)\n(printout t after crlf)\n");
  const TRunResult result = Run({file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "<Fact-1>\nafter\n");
  EXPECT_EQ(result.errors, "dropped: fact (a (x 1)): No such slot name: \"x\"\n" + file +
                               ":4:13: Errors parsing stream:\n" + file +
                               ":4: No such slot name: \"x\"\n" + file +
                               ":5: No such slot name: \"x\"\n");
}

TEST_F(ConsoleTest, TheInnermostFileIsBlamedForAFailure) {
  const std::string inner = Write("inner.clp", "(bind ?x 1)\n  (+ ?x x)\n");
  const std::string middle =
      Write("middle.clp", "(defrule r (go) => (batch \"" + inner + "\"))\n\n(assert (go)) (run)\n");
  const TRunResult result = Run({"-e", "\n(load \"" + middle + "\")"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, inner +
                               ":2:10: rule r: Not a numeric type.  Value (x) is a dtAtom type\n" +
                               "   loaded at " + middle +
                               ":3:19\n   loaded at 2:" + std::to_string(middle.size() + 9) + "\n");
  // A load goes on behind a construct that does not fit, and tells of it in the end.
  const std::string unfit = Write("unfit.clp", "\n(deftemplate t (slit x))\n(bind ?x 2)\n");
  const std::string outer = Write("outer.clp", "(load \"" + unfit + "\")\n\n(bind ?x 3)\n");
  const std::string errors = Run({outer}).errors;
  EXPECT_EQ(errors.find(unfit + ":2:17: Parsing Error"), 0u) << errors;
  EXPECT_NE(errors.find("\n   loaded at " + outer + ":1:"), std::string::npos) << errors;
}

TEST_F(ConsoleTest, FailureInARunNamesTheRule) {
  const std::string rules =
      Write("rules.clp", "(deffacts d (a x))\n(defrule wrong (a ?v) => (+ 1 ?v))\n");
  const TRunResult result = Run({rules, "--run"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "rule wrong: Not a numeric type.  Value (x) is a dtAtom type\n");
}

TEST_F(ConsoleTest, CommandLineThatCannotBeFollowedIsRefused) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
      {{"--no-such-option"}, "--no-such-option"},
      {{"-x"}, "-x"},
      {{"--limit", "many"}, "many"},
      {{"--limit", "-1"}, "-1"},
      {{"--strategy", "random"}, "random"},
      {{"--watch", "facts,tides"}, "tides"},
  };
  for (const auto& [arguments, named] : rows) {
    const TRunResult result = Run(arguments, "(printout t never crlf)");
    EXPECT_EQ(result.status, 2) << arguments.front();
    EXPECT_EQ(result.output, "") << arguments.front();
    EXPECT_NE(result.errors.find(named), std::string::npos) << result.errors;
  }
}

TEST_F(ConsoleTest, VersionAndHelpDoNothingElse) {
  ExpectOutput({"--version", "-e", "(printout t never crlf)"}, "reasoner " REASONER_VERSION "\n");
  const TRunResult help = Run({"--help"}, "(printout t never crlf)");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.output.find("never"), std::string::npos);
  EXPECT_EQ(Run({"-h"}).output, help.output);
}

// An option is refused without its last value, or with a value where it takes none.
TEST_F(ConsoleTest, EveryOptionOfTheHelpIsKnownWithItsValues) {
  std::istringstream lines(Run({"--help"}).output);
  int options = 0;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("  -")) continue;
    ++options;
    std::istringstream words(line);
    std::vector<std::string> arguments(1);
    words >> arguments[0];
    const auto is_value = [](const std::string& word) {
      return std::all_of(word.begin(), word.end(),
                         [](char letter) { return letter >= 'A' && letter <= 'Z'; });
    };
    std::string values;
    for (std::string word; words >> word && is_value(word); values += " " + word)
      arguments.push_back("x");
    std::string wanted = arguments[0] + " wants" + values + " behind it";
    if (values.empty()) {
      wanted = arguments[0] + " takes no value";
      arguments[0] += "=x";
    } else {
      arguments.pop_back();
    }
    const TRunResult result = Run(arguments);
    EXPECT_EQ(result.status, 2) << line;
    EXPECT_EQ(result.errors, "reasoner: " + wanted + "\nTry 'reasoner --help'.\n") << line;
  }
  EXPECT_GT(options, 0);
}

TEST_F(ConsoleTest, TextBeyondAsciiComesThrough) {
  const std::string file = Write("grüße.clp", "(printout t \"Grüße, 世界 🦊\" crlf)\n");
  ExpectOutput({file}, "Grüße, 世界 🦊\n");
}

// `reasoner --function-reference > docs/functions.md` makes it so.
TEST_F(ConsoleTest, TheFunctionReferenceIsCurrent) {
  ExpectOutput({"--function-reference"}, ReadWholeFile(REASONER_SOURCE_DIR "/docs/functions.md"));
}

}  // namespace
}  // namespace console_test

#endif
