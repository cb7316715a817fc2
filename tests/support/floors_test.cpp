// Every file of the library includes what lies on its own floor or below.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>

namespace reasoner {
namespace {

// Folders with one number are beside each other: neither includes the other.
const std::map<std::string, int> kFloors = {
    {"support", 1}, {"vocabulary", 2}, {"values", 3},   {"facts", 4},  {"functions", 5},
    {"match", 7},   {"fuzzy", 6},      {"language", 8}, {"engine", 9}, {"library", 10},
};

TEST(FloorsTest, NoIncludeGoesUp) {
  const std::filesystem::path root = std::filesystem::path(REASONER_SOURCE_DIR) / "reasoner";
  const std::regex include("^#include \"(reasoner/)?([a-z]+)/.*\"");
  int seen = 0;
  for (const auto& [folder, floor] : kFloors) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
      if (!entry.is_regular_file()) continue;
      std::ifstream file(entry.path());
      for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (!line.starts_with("#include \"")) continue;
        ASSERT_TRUE(std::regex_search(line, match, include)) << entry.path() << ": " << line;
        ASSERT_TRUE(match[1].matched) << entry.path() << ": not from the library: " << line;
        const auto included = kFloors.find(match[2]);
        ASSERT_NE(included, kFloors.end()) << entry.path() << ": no floor: " << line;
        const bool is_own = included->first == folder;
        EXPECT_TRUE(is_own || included->second < floor) << entry.path() << ": " << line;
        ++seen;
      }
    }
  }
  EXPECT_GT(seen, 500);
}

}  // namespace
}  // namespace reasoner
