#include "console/ExpressionScanner.h"

#include <string_view>

namespace console {

static bool IsBlank(char character) { return static_cast<unsigned char>(character) <= ' '; }

static bool IsOneOf(std::string_view characters, char character) {
  return characters.find(character) != std::string_view::npos;
}

bool ExpressionScanner::Finish() {
  *this = ExpressionScanner();
  return true;
}

bool ExpressionScanner::Take(char character) {
  if (escaped_) {
    escaped_ = false;
    return false;
  }
  switch (place_) {
    case kComment:
      if (character == '\n' || character == '\r') place_ = kCode;
      return false;
    case kText:
      if (character == '\\') escaped_ = true;
      if (character != '"') return false;
      place_ = kCode;
      return depth_ == 0 && Finish();
    case kCode:
      break;
  }
  if (character == ';') {
    place_ = kComment;
    return false;
  }
  if (IsBlank(character)) return depth_ == 0 && begun_ && Finish();
  const bool is_first = !begun_;
  begun_ = true;
  switch (character) {
    case '\\':
      escaped_ = true;
      return false;
    case '"':
      place_ = kText;
      return false;
    case '(':
      ++depth_;
      return false;
    case ')':
      if (depth_ > 0) --depth_;
      return depth_ == 0 && Finish();
    default:
      return is_first && IsOneOf("=&[]|~", character) && Finish();
  }
}

bool ExpressionScanner::EndsBefore(char character) const {
  return begun_ && depth_ == 0 && place_ == kCode && !escaped_ && IsOneOf("\"&();<[]|~", character);
}

bool ExpressionScanner::BeginsWith(char character) const {
  return !begun_ && place_ == kCode && character != ';' && !IsBlank(character);
}

}  // namespace console
