#include "console/FunctionReference.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/library/Packages.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace console {

using namespace reasoner;

// What the examples may count on.
static constexpr const char* kInputLine = "42 apples";
static constexpr const char* kFileName = "colors.clp";
static constexpr const char* kFileText = "(deffacts colors (color red) (color green))\n";

static constexpr const char* kIntroduction =
    "# Function reference\n"
    "\n"
    "All built-in functions, package by package, with the words that the help shows. This file is\n"
    "written by `reasoner --function-reference`; what an example prints and gives comes from\n"
    "executing it. Behind the last call of an example stands what it prints, and `=>` before its\n"
    "value. Lists are shown in parentheses here, and `nil` is what a function gives that has no\n"
    "answer. Each example has an engine of its own. What is read from the terminal is the line\n"
    "`42 apples`, and the file `colors.clp` holds `(deffacts colors (color red) (color green))`.\n";

// A folder for the files of the examples, current as long as this lives.
class ScratchFolder {
 public:
  ScratchFolder() : home_(std::filesystem::current_path()) {
    std::string name = (std::filesystem::temp_directory_path() / "reasoner-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder: " + name);
    folder_ = name;
    std::filesystem::current_path(folder_);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::current_path(home_, ignored);
    std::filesystem::remove_all(folder_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

 private:
  std::filesystem::path home_;
  std::filesystem::path folder_;
};

// Text of a paragraph in which no character has a meaning for Markdown.
static std::string AsMarkdown(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') {
      const std::size_t next = text.find_first_not_of(" \n", i);
      if (next == std::string_view::npos) break;
      const bool paragraph = text.substr(i + 1, next - i - 1).find('\n') != std::string_view::npos;
      result += paragraph ? "\n\n" : "\\\n";
      i = next - 1;
      continue;
    }
    if (std::string_view("\\`*_[]<>#|").find(text[i]) != std::string_view::npos) result += '\\';
    result += text[i];
  }
  return result;
}

static std::string CountOfArguments(const IUserFunction& function) {
  const std::int32_t min = function.GetMinArgumentCount();
  const std::int32_t max = function.GetMaxArgumentCount();
  const std::string least = IntegerToText(min);
  if (max == kNoArgumentLimit) return min == 0 ? "any number of" : least + " or more";
  if (max == 0) return "no";
  return min == max ? least : least + " to " + IntegerToText(max);
}

static std::string ShownValue(const IKBValue& value) {
  if (value.IsNilLike()) return "nil";
  std::string text = value.ToString();
  if (value.GetDType() != dtList) return text;
  if (!text.empty()) text.pop_back();
  return "(" + text + ")";
}

static std::string ExecuteExample(const IUserFunction& function) {
  std::string output;
  bool shown = false;
  TReasoner engine;
  new TExtensionPackage(&engine);  // the engine's
  engine.OnPrintOut = [&](TReasoner&, const std::string&, const std::string& text) {
    if (shown) output += text;
  };
  engine.OnReadLine = [](TReasoner&, const std::string&, std::string& text) { text = kInputLine; };
  engine.OnReadToken = [](TReasoner& sender, const std::string&, Ref<IStreamToken>& token) {
    TKBClipsStream stream(std::make_unique<TKitStringStream>(kInputLine));
    stream.SetEngine(&sender);
    token = stream.NextToken();
  };
  std::ofstream(kFileName) << kFileText;
  try {
    engine.Parse(function.GetExamplePrelude(), true);
    shown = true;
    const Ref<IKBValue> value = engine.ParseNExecuteFunCall(function.GetExample());
    if (!output.empty() && output.back() != '\n') output += '\n';
    return output + "=> " + ShownValue(value ? *value : *FCNil) + "\n";
  } catch (const EAbort&) {
    return output + "; ends the program\n";
  }
}

static std::string DescribeFunction(const IUserFunction& function) {
  const std::string name = function.GetFunctionName().str();
  if (function.GetExample().empty()) throw std::runtime_error("no example of " + name);
  std::string arguments = function.GetArgumentString();
  if (!arguments.empty() && arguments.front() != ' ') arguments.insert(0, " ");
  while (!arguments.empty() && arguments.back() == ' ') arguments.pop_back();
  const std::string count = CountOfArguments(function);
  std::string text = "### `" + name + "`\n\n`(" + name + arguments + ")` — " + count +
                     (count == "1" ? " argument" : " arguments") + "\n\n" +
                     AsMarkdown(function.GetComment()) + "\n\n```\n";
  if (!function.GetExamplePrelude().empty()) {
    text += std::string(function.GetExamplePrelude()) + "\n";
  }
  text += std::string(function.GetExample()) + "\n";
  try {
    text += ExecuteExample(function);
  } catch (const std::exception& failure) {
    throw std::runtime_error("the example of " + name + " fails: " + failure.what());
  }
  return text + "```\n";
}

static std::string Chapter(const std::string& title, const std::string& note,
                           TUserPackage& package) {
  std::string text = "\n## " + title + "\n\nPackage `" + package.ClassName() + "`." + note + "\n";
  std::string separator = "\n";
  for (const Ref<IUserFunction>& function : package.GetFunctions()) {
    text += separator + "`" + function->GetFunctionName().str() + "`";
    separator = ",\n";
  }
  text += "\n";
  for (const Ref<IUserFunction>& function : package.GetFunctions()) {
    text += "\n" + DescribeFunction(*function);
  }
  return text;
}

std::string FunctionReference() {
  static constexpr struct {
    TFunctionPackage package;
    const char* title;
  } kChapters[] = {{pStandard, "Standard"},
                   {pPredicate, "Predicates"},
                   {pMath, "Mathematics"},
                   {pMiscellaneous, "Constructs, listings and the system"},
                   {pString, "Strings"},
                   {pObject, "Objects of the host"},
                   {pTrigonometry, "Trigonometry"},
                   {pBusiness, "Business"},
                   {pFuzzyLogic, "Fuzzy logic"}};
  const ScratchFolder folder;
  std::string text = kIntroduction;
  for (const auto& chapter : kChapters) {
    const std::unique_ptr<TUserPackage> package(MakePackage(chapter.package, nullptr));
    if (package) text += Chapter(chapter.title, "", *package);
  }
  TExtensionPackage extensions;
  return text + Chapter("Extensions", " The console installs it, and a host may.", extensions);
}

}  // namespace console
