// Finds the end of an expression of the language in a stream of characters, by parentheses, texts,
// comments and escapes.

#pragma once

namespace console {

class ExpressionScanner {
 public:
  // Takes the next character. True when it is the last one of an expression; then the next
  // expression begins.
  bool Take(char character);
  // Whether an expression, a word, ends in front of the character, which is not to be taken then.
  bool EndsBefore(char character) const;
  // Whether the character would be the first of an expression.
  bool BeginsWith(char character) const;
  // Inside parentheses or a text: what has come is no whole expression.
  bool IsOpen() const { return depth_ > 0 || place_ == kText; }

 private:
  bool Finish();

  enum : unsigned char { kCode, kText, kComment } place_ = kCode;
  bool begun_ = false;    // a character of an expression has come
  bool escaped_ = false;  // by the backslash before
  long depth_ = 0;        // parentheses that are open
};

}  // namespace console
