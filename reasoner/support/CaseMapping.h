// Upper and lower case of the letters of ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic.
//
// One character becomes one character: what would become several, such as the sharp s, stays as it
// is, and so does everything of other scripts. The user's locale plays no part.

#pragma once

#include <string>
#include <string_view>

namespace reasoner {

std::string KitUpperCase(std::string_view text);
std::string KitLowerCase(std::string_view text);

}  // namespace reasoner
