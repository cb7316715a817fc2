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

std::vector<std::string> ExamplesWith(const std::string& extension) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kExamples)) {
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
#endif

#ifdef REASONER_EXAMPLES_DIR
using HostTest = ExampleTest;

TEST_P(HostTest, PrintsWhatIsExpected) {
  ExpectShippedOutput(RunProgram({REASONER_EXAMPLES_DIR "/" + GetParam()}));
}

INSTANTIATE_TEST_SUITE_P(Examples, HostTest, ::testing::ValuesIn(ExamplesWith(".cpp")), TestName);
#endif

}  // namespace
}  // namespace console_test
