// Text helpers of the language: the formats of its print functions, help lines, sets as text.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/functions/UserFunction.h"
#include "reasoner/values/ValueVector.h"

namespace reasoner {

// Whether a type clause reads the word as a type of the language.
bool IsTypeWord(std::string_view word);

// The words that begin a construct.
std::vector<std::string_view> ConstructWords();

// Puts the values one after the other into the conversions of a format: d u x e f g m p s, with
// `-`, width and precision; "%n" is a line break. A conversion of another kind uses a value up and
// stays as it is, for the next value as well. Values beyond the conversions follow, each behind a
// blank. What a value shows is never read as a format.
std::string CLIPSFormat(std::string_view format, const IValueVector& args, bool plain = true);

// The call of a function as its help shows it.
std::string GetSyntaxStatement(const IUserFunction& function);

// Takes one pair of double quotes off a text that has them at both ends.
std::string KBStringToString(std::string_view text);
// The text without these characters.
std::string StringFilter(std::string_view text, std::string_view characters);
// The place, from 1, of the first character that is among these, or 0.
std::int32_t ContainsCharacters(std::string_view text, std::string_view characters);

// A set whose members' bits are their places among the names. The first `prefix_length` characters
// of each name are left out.
std::string SetToString(std::uint32_t bits, std::span<const std::string_view> names,
                        std::string_view separator, bool brackets, std::size_t prefix_length);
// The reverse: words between blanks, commas and brackets. Raises "Invalid item for set: %s" for an
// unknown one.
std::uint32_t StringToSet(std::string_view text, std::span<const std::string_view> names,
                          std::string_view prefix);

}  // namespace reasoner
