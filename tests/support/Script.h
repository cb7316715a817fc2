// Rule-language text with what it is to print, or to fail with, beside its lines:
//
//   ; expect: TEXT            the line prints this, and
//   ; values: A, B            these lines, without the blanks at their ends
//   ; error: TEXT             each form on the line raises a failure whose message holds the text,
//                             where $ is the form's first word; what follows is done all the same
//   ; fires: A, B             the line is a program of its own: the lines that it prints when it
//                             runs, not those that it prints while it is loaded

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "reasoner/engine/Reasoner.h"

namespace reasoner {

// A line with a keyword, or what stands between two of them. Parts keep their line in the script.
struct TScriptPart {
  std::string text;
  std::string keyword;
  std::string wanted;
  int line = 0;
};

// The text behind a keyword such as "expect" in the comment of a line, when it has it.
bool TakeKeyword(std::string_view line, std::string_view keyword, std::string& rest);

std::vector<TScriptPart> ScriptParts(const std::string& text,
                                     const std::vector<std::string>& keywords);

// Loads the part and adds a failure where it does not do what it says. The engine prints into
// `output`, from which a part with a keyword takes what it prints.
void DoPart(TReasoner& engine, const TScriptPart& part, std::string& output,
            const std::string& script);

std::vector<std::string> SplitLines(const std::string& text);
// The text with its line ends written as "\n".
std::string OneLine(const std::string& text);

}  // namespace reasoner
