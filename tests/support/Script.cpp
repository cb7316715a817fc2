#include "tests/support/Script.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "tests/support/Failure.h"

namespace reasoner {
namespace {

// The forms of a line, but for its comment.
std::vector<std::string> Forms(const std::string& line) {
  std::vector<std::string> forms = {""};
  int depth = 0;
  bool in_string = false;
  char before = ' ';
  for (std::size_t i = 0; i < line.size() && (depth > 0 || line.compare(i, 2, "; ") != 0); ++i) {
    if (!in_string) depth += line[i] == '(' ? 1 : line[i] == ')' ? -1 : 0;
    if (line[i] == '"' && before != '\\') in_string = !in_string;
    before = line[i];
    forms.back() += before;
    if (before == ')' && depth == 0) forms.emplace_back();
  }
  std::erase_if(forms, [](const std::string& form) {
    return form.find_first_not_of(" \n") == std::string::npos;
  });
  return forms;
}

void ExpectFailures(TReasoner& engine, const TScriptPart& part, const std::string& place) {
  for (const std::string& form : Forms(part.text)) {
    std::string wanted = part.wanted;
    if (const std::size_t at = wanted.find('$'); at != std::string::npos) {
      const std::size_t begin = form.find('(') + 1;
      wanted.replace(at, 1, form.substr(begin, form.find_first_of(" )", begin) - begin));
    }
    const std::string got = OneLine(FailureOf([&] { engine.Parse(form, true); }));
    EXPECT_NE(got.find(wanted), std::string::npos)
        << place << form.substr(form.find_first_not_of('\n')) << " raised: " << got
        << "\n  instead of: " << wanted;
  }
}

}  // namespace

bool TakeKeyword(std::string_view line, std::string_view keyword, std::string& rest) {
  const std::size_t comment = line.find("; ");
  if (comment == std::string_view::npos) return false;
  line.remove_prefix(comment + 2);
  if (!line.starts_with(keyword) || !line.substr(keyword.size()).starts_with(':')) return false;
  line.remove_prefix(keyword.size() + 1);
  rest = line.starts_with(' ') ? line.substr(1) : line;
  return true;
}

std::vector<TScriptPart> ScriptParts(const std::string& text,
                                     const std::vector<std::string>& keywords) {
  std::vector<TScriptPart> parts(1);
  std::string rest;
  int number = 0;
  for (const std::string& line : SplitLines(text)) {
    ++number;
    const auto keyword = std::find_if(keywords.begin(), keywords.end(), [&](const auto& word) {
      return TakeKeyword(line, word, rest);
    });
    const std::string above(static_cast<std::size_t>(number) - 1, '\n');
    if (keyword != keywords.end()) {
      rest.erase(rest.find_last_not_of(' ') + 1);
      parts.push_back({above + line + "\n", *keyword, rest, number});
      parts.push_back({above + "\n", "", "", 0});
    } else {
      parts.back().text += line + "\n";
    }
  }
  return parts;
}

void DoPart(TReasoner& engine, const TScriptPart& part, std::string& output,
            const std::string& script) {
  const std::string place = script + ":" + std::to_string(part.line) + ": ";
  if (part.keyword.empty()) {
    engine.Parse(part.text, true);
  } else if (part.keyword == "error") {
    ExpectFailures(engine, part, place);
  } else {
    const std::string before = std::exchange(output, "");
    if (part.keyword == "fires") {
      TReasoner own;
      own.OnPrintOut = engine.OnPrintOut;
      own.SetTextbookSemantics(engine.GetTextbookSemantics());
      own.Parse(part.text, true);
      output.clear();
      own.Run();
    } else {
      engine.Parse(part.text, true);
    }
    std::string got;
    for (const std::string& line : SplitLines(std::exchange(output, before)))
      got += (got.empty() ? "" : ", ") + line.substr(0, line.find_last_not_of(' ') + 1);
    got.erase(got.find_last_not_of(' ') + 1);
    EXPECT_EQ(got, part.wanted) << place << part.text.substr(part.text.find_first_not_of('\n'));
  }
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string OneLine(const std::string& text) {
  std::string line;
  for (const char character : text) character == '\n' ? line += "\\n" : line += character;
  return line;
}

}  // namespace reasoner
