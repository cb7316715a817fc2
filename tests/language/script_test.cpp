// Runs the scripts below tests/language: rule-language text with what it is to print beside it, as
// tests/support/Script.h tells, but for
//
//   ; expect: TEXT            the next line that the script prints; lines are compared in order
//                             (a warning prints as "warning: TEXT")
//   ; expect error: TEXT      the message of the failure that ends the script, its line ends as \n
//   ; expect place: LINE:COLUMN, or ; expect place: rule NAME
//                             where the failure was
//   ; option: strategy breadth, ; option: limit N, ; option: checks dynamic, ; option: literal
//                             how the engine is set up
//
// A script is loaded into an engine of its own, then the engine is reset and run. What has no
// `expect` line must not happen: one line too many fails the test as one too few does.

#include "tests/support/Script.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Exception.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace reasoner {
namespace {

struct TWantedLine {
  int line = 0;  // of the script; 0 when the script wants nothing of the kind
  std::string text;
};

struct TScript {
  std::string name;  // the path below tests/language
  std::vector<TScriptPart> parts;
  std::vector<TWantedLine> output;
  TWantedLine error;
  TWantedLine place;
  TSearchStrategy strategy = ssDepthFirst;
  std::int32_t limit = 10000;
  TTypeChecks checks{tcStatic};
  bool textbook = true;
};

std::string ScriptFolder() { return REASONER_SOURCE_DIR "/tests/language/"; }

void SetOption(TScript& script, const std::string& option) {
  if (option == "strategy breadth") {
    script.strategy = ssBreadthFirst;
  } else if (option == "checks dynamic") {
    script.checks = TTypeChecks{tcStatic, tcDynamic};
  } else if (option == "literal") {
    script.textbook = false;
  } else if (option.starts_with("limit ")) {
    script.limit = std::stoi(option.substr(6));
  } else {
    throw std::runtime_error(script.name + ": unknown option: " + option);
  }
}

TScript ReadScript(const std::string& name) {
  TScript script;
  script.name = name;
  std::ifstream file(ScriptFolder() + name);
  if (!file) throw std::runtime_error("cannot be read: " + name);
  std::stringstream text;
  text << file.rdbuf();
  script.parts = ScriptParts(text.str(), {"values", "error", "fires"});
  std::string line;
  std::string rest;
  for (int number = 1; std::getline(text, line); ++number) {
    if (TakeKeyword(line, "expect", rest)) {
      script.output.push_back({number, rest});
    } else if (TakeKeyword(line, "expect error", rest)) {
      script.error = {number, rest};
    } else if (TakeKeyword(line, "expect place", rest)) {
      script.place = {number, rest};
    } else if (TakeKeyword(line, "option", rest)) {
      SetOption(script, rest);
    }
  }
  return script;
}

std::vector<std::string> ScriptNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(ScriptFolder())) {
    if (entry.path().extension() == ".clp")
      names.push_back(entry.path().lexically_relative(ScriptFolder()).generic_string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string TestName(const ::testing::TestParamInfo<std::string>& info) {
  std::string name = info.param.substr(0, info.param.size() - 4);
  std::replace_if(
      name.begin(), name.end(),
      [](char character) { return std::isalnum(static_cast<unsigned char>(character)) == 0; }, '_');
  return name;
}

class ScriptTest : public ::testing::TestWithParam<std::string> {
 protected:
  void Run(const TScript& script) {
    TReasoner engine;
    engine.OnPrintOut = [this](TReasoner&, const std::string&, const std::string& text) {
      output_ += text;
    };
    engine.OnWarning = [this](TReasoner&, const std::string& text) {
      output_ += "warning: " + text + "\n";
    };
    engine.SetStrategy(script.strategy);
    engine.SetTypeChecks(script.checks);
    engine.SetTextbookSemantics(script.textbook);
    try {
      if (script.parts.size() == 1) {
        engine.LoadFromFile(ScriptFolder() + script.name);
      } else {
        for (const TScriptPart& part : script.parts)
          DoPart(engine, part, output_, "tests/language/" + script.name);
      }
      engine.Reset();
      EXPECT_TRUE(engine.Run(script.limit) < 10000) << script.name << " does not come to an end";
    } catch (const EAbort&) {
    } catch (const EKBParseException& failure) {
      error_ = OneLine(failure.what());
      place_ = std::to_string(failure.LineNumber) + ":" + std::to_string(failure.Column);
    } catch (const std::exception& failure) {
      error_ = OneLine(failure.what());
      const TFailurePlace& place = engine.GetFailurePlace();
      place_ = place.rule.empty() ? std::to_string(place.line) + ":" + std::to_string(place.column)
                                  : "rule " + place.rule;
    }
  }

  static void Expect(const TScript& script, const TWantedLine& wanted, const std::string& got) {
    EXPECT_EQ(got, wanted.text) << "tests/language/" << script.name << ":" << wanted.line;
  }

  std::string output_;
  std::string error_;
  std::string place_;
};

TEST_P(ScriptTest, PrintsWhatItSays) {
  const TScript script = ReadScript(GetParam());
  ASSERT_TRUE(!script.output.empty() || script.error.line > 0 || script.parts.size() > 1)
      << "the script expects nothing";
  Run(script);

  const std::vector<std::string> lines = SplitLines(output_);
  for (std::size_t i = 0; i < std::max(lines.size(), script.output.size()); ++i) {
    if (i >= lines.size()) {
      Expect(script, script.output[i], "(nothing more)");
      break;
    }
    if (i >= script.output.size()) {
      Expect(script, {0, "(nothing more)"}, lines[i]);
      break;
    }
    Expect(script, script.output[i], lines[i]);
  }
  Expect(script, script.error, error_);
  if (script.place.line > 0) Expect(script, script.place, place_);
}

INSTANTIATE_TEST_SUITE_P(Language, ScriptTest, ::testing::ValuesIn(ScriptNames()), TestName);

}  // namespace
}  // namespace reasoner
