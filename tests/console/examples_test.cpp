// Runs what is in examples/ and compares it with what the README and the guides show of it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/console/ConsoleRun.h"

namespace console_test {
namespace {

const std::filesystem::path kExamples = REASONER_SOURCE_DIR "/examples";

std::vector<std::string> ExamplesWith(const std::string& extension,
                                      const std::string& folder = "") {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kExamples / folder)) {
    if (entry.path().extension() == extension) names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string TestName(const ::testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  std::replace_if(
      name.begin(), name.end(),
      [](char character) { return std::isalnum(static_cast<unsigned char>(character)) == 0; }, '_');
  return name;
}

class ExampleTest : public ::testing::TestWithParam<std::string> {
 protected:
  static void ExpectShippedOutput(const TRunResult& result) {
    EXPECT_EQ(result.output, ReadWholeFile((kExamples / (GetParam() + ".expected")).string()));
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.status, 0);
  }
};

#ifdef REASONER_CONSOLE
using KnowledgeBaseTest = ExampleTest;

TEST_P(KnowledgeBaseTest, PrintsWhatIsExpected) {
  ExpectShippedOutput(
      RunProgram({REASONER_CONSOLE, "--run", (kExamples / (GetParam() + ".clp")).string()}));
}

INSTANTIATE_TEST_SUITE_P(Examples, KnowledgeBaseTest, ::testing::ValuesIn(ExamplesWith(".clp")),
                         TestName);

// The programs of the manual's page on semantics, each with both results.
using SemanticsTest = ExampleTest;

TEST_P(SemanticsTest, PrintsWhatEachMeaningSays) {
  const std::filesystem::path program = kExamples / "semantics" / GetParam();
  const std::string manual = ReadWholeFile(REASONER_SOURCE_DIR "/docs/semantics.md");
  std::string shown = "```\n";
  for (const bool literal : {false, true}) {
    std::vector<std::string> arguments = {REASONER_CONSOLE, "--run", program.string() + ".clp"};
    if (literal) arguments.insert(arguments.begin() + 1, "--literal");
    const TRunResult result = RunProgram(arguments);
    EXPECT_EQ(result.output,
              ReadWholeFile(program.string() + (literal ? ".literal" : "") + ".expected"));
    EXPECT_EQ(result.errors, "");
    shown += std::string("$ reasoner ") + (literal ? "--literal " : "") + "--run " + GetParam() +
             ".clp\n" + result.output;
  }
  EXPECT_NE(manual.find(shown + "```"), std::string::npos) << "the manual shows another result";
}

INSTANTIATE_TEST_SUITE_P(Examples, SemanticsTest,
                         ::testing::ValuesIn(ExamplesWith(".clp", "semantics")), TestName);
#endif

#ifdef REASONER_EXAMPLES_DIR
using HostTest = ExampleTest;

TEST_P(HostTest, PrintsWhatIsExpected) {
  ExpectShippedOutput(RunProgram({REASONER_EXAMPLES_DIR "/" + GetParam()}));
}

TEST(HostArgumentTest, TheControllerMayBeNamed) {
  const std::string program = REASONER_EXAMPLES_DIR "/070_control_surface";
  const TRunResult named = RunProgram({program, (kExamples / "fan.clp").string()});
  EXPECT_EQ(named.output, RunProgram({program}).output);
  const TRunResult missing = RunProgram({program, "nowhere.clp"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.errors.find("nowhere.clp"), std::string::npos) << missing.errors;
}

INSTANTIATE_TEST_SUITE_P(Examples, HostTest, ::testing::ValuesIn(ExamplesWith(".cpp")), TestName);
#endif

}  // namespace
}  // namespace console_test
