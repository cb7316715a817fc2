// Tokens of the rule language and the streams that make them.
//
// A tokenizer reads one whole parenthesised expression ahead of its reader, in a loop and not by
// recursion, so that it can echo what was read when something is wrong with it, and skip the rest
// of it afterwards. Any number of tokens can be put back. A tokenizer lives for one reading of one
// stream and serves one caller at a time.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/support/Pool.h"
#include "reasoner/support/SourceWords.h"
#include "reasoner/support/Streams.h"
#include "reasoner/support/Text.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

// The smallest unit of text. The kind is the ordinal of a TKBType for words, strings, numbers and
// variables, and the character's code for the punctuation `= & ( ) [ ] | ~`; dtNone is the end of
// the stream.
class TKBStreamToken final : public IInterface, public Pooled {
 public:
  TKBStreamToken() = default;
  TKBStreamToken(std::int32_t data_type, Text text)
      : data_type_(data_type), text_(std::move(text)) {}

  std::int32_t GetDataType() const noexcept { return data_type_; }
  // Where the token ended, in lines from 1.
  std::int32_t GetLineNumber() const noexcept { return line_number_; }
  // Where it began in its first line, in characters from 1.
  std::int32_t GetColumn() const noexcept { return column_; }
  double GetNumber() const noexcept { return number_; }
  // Without the quotes of a string and the `?` or `$?` of a variable; empty for numbers.
  const Text& GetText() const noexcept { return text_; }
  // The blanks, line ends and comments between the token before and this one.
  const std::string& GetWhitespace() const noexcept { return whitespace_; }
  std::int32_t GetTag() const noexcept { return tag_; }
  // A lone `?` or `$?`: the name is the tokenizer's own.
  bool HasGeneratedName() const noexcept { return has_generated_name_; }

  bool Is(std::int32_t data_type) const noexcept { return data_type_ == data_type; }
  bool IsWord(std::string_view word) const noexcept {
    return data_type_ == dtAtom && text_ == word;
  }
  // A word, string, number or variable: what stands for a value by itself.
  bool IsPlainValue() const noexcept;
  bool IsEnd() const noexcept { return data_type_ == dtNone; }

  void SetDataType(std::int32_t data_type) noexcept { data_type_ = data_type; }
  void SetLineNumber(std::int32_t line) noexcept { line_number_ = line; }
  void SetColumn(std::int32_t column) noexcept { column_ = column; }
  void SetNumber(double number) noexcept { number_ = number; }
  void SetText(const Text& text) {
    text_ = text;
    has_generated_name_ = false;
  }
  void SetWhitespace(std::string whitespace) { whitespace_ = std::move(whitespace); }
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }
  void SetGeneratedName(const Text& name) {
    text_ = name;
    has_generated_name_ = true;
  }

  // The value that the token stands for; variables name themselves.
  Ref<IKBValue> Value() const;
  // The same, a variable being looked up in the context. Raises "Unknown variable name: %s" for an
  // unbound one.
  Ref<IKBValue> Value(TKBContext* context) const;
  // Takes over the type and the text or number of a value.
  void SetValue(const IKBValue& value);

  // Takes over everything but the whitespace.
  void Assign(const TKBStreamToken& source);
  Ref<IStreamToken> Clone() const;
  // The same kind, line and number; texts take no part.
  bool Equals(const TKBStreamToken& other) const noexcept;
  // As the token stands in messages.
  std::string ToString() const;

 private:
  std::int32_t data_type_ = dtNone;
  std::int32_t line_number_ = 0;
  std::int32_t column_ = 0;
  std::int32_t tag_ = 0;
  bool has_generated_name_ = false;
  double number_ = 0;
  Text text_;
  std::string whitespace_;
};

// A text stream that yields tokens.
class TKBTokenizerStream : public TGTextStream {
 public:
  using TGTextStream::TGTextStream;

  // Drops the tokens that are waiting.
  virtual void Clear() = 0;
  // Drops the rest of the line of the token read last.
  virtual void DiscardUntilEOL() = 0;
  // Skips the rest of the expression in which a failure happened.
  virtual void MoveToNextConstruct() = 0;
  // At the end dtNone tokens for ever after.
  virtual Ref<IStreamToken> NextToken() = 0;
  // The same for one who reads data: what the token may begin is not read ahead.
  virtual Ref<IStreamToken> NextSingleToken() { return NextToken(); }
  // The last token put back comes next.
  virtual void PutBackToken(const Ref<IStreamToken>& token) = 0;
  // The word behind an opening parenthesis, which stays in the stream; empty where no word stands
  // there.
  virtual std::string Head() = 0;
};

// The tokenizer of the rule language.
class TKBClipsStream : public TKBTokenizerStream {
 public:
  // Borrows the stream, which must outlive this object.
  explicit TKBClipsStream(TStream* stream, const TEncoding* encoding = nullptr);
  // Owns the stream.
  explicit TKBClipsStream(std::unique_ptr<TStream> stream, const TEncoding* encoding = nullptr);
  ~TKBClipsStream() override;

  std::string ClassName() const override { return "TKBClipsStream"; }
  // Names lone `?` and `$?`; not owned.
  void SetEngine(IReasoner* engine) noexcept { engine_ = engine; }
  // For failures; empty for a text that is from no file.
  const std::string& GetFileName() const noexcept { return file_name_; }
  void SetFileName(std::string file_name) { file_name_ = std::move(file_name); }
  std::int32_t GetLineNumber() const noexcept { return line_number_; }
  // Where the next character stands.
  void SetPlace(std::int32_t line, std::int32_t column) noexcept {
    line_number_ = line;
    column_ = column;
  }

  void Clear() override;
  void DiscardUntilEOL() override;
  void MoveToNextConstruct() override;
  Ref<IStreamToken> NextToken() override;
  Ref<IStreamToken> NextSingleToken() override;
  void PutBackToken(const Ref<IStreamToken>& token) override;
  std::string Head() override;

  // The token delivered or put back last; reads one if there is none yet.
  const Ref<IStreamToken>& GetCurrentToken();
  // The same without reading: null if there is none yet.
  const IStreamToken* GetLastToken() const noexcept { return last_.get(); }
  // What was read of the present expression: the tokens' texts, each with a blank behind it.
  std::string ToString() const override;

  int GetChar() override;
  // A line that is taken by itself leaves nothing behind for the white space of the next token.
  std::string GetLine() override;
  // Drops the tokens that are waiting: what is written takes the place of what comes behind them.
  void Put(std::string_view text) override;
  // Takes blanks up to and with one line end; tells whether there was one.
  virtual bool SkipInLineSpaces();

 protected:
  // Makes one token from the characters.
  virtual Ref<IStreamToken> BuildNextToken();
  // Makes a token of a kind: 0 for a word that is to be classified, -1 for the same at the end of
  // the stream, 13 for the word CRLF, 34 for a string, else a punctuation's code. Any other raises
  // "Invalid Token hint ...".
  virtual Ref<IStreamToken> FinishToken(std::int32_t hint, std::string_view text);

 private:
  // One token of the echo. The echo's text is made of these when a failure asks for it.
  struct EchoItem {
    Ref<IStreamToken> token;
    bool line_break;  // in front of it
    bool trimmed;     // a token behind it was put back: one blank follows
  };

  std::string TakeLine();
  int NextChar();
  void PutBackChar(char character);
  Ref<IStreamToken> BuildWord(char first);
  bool ReadWord();
  void ReadString();
  void ReadExpression();
  void Classify(IStreamToken& token, std::string_view word);
  Text Generated(std::string_view prefix);
  void KeepName(std::string_view name);
  void RenameWildcards();
  void ClearEcho();

  IReasoner* engine_ = nullptr;
  bool keeps_names_ = false;  // the expression holds names that could be generated ones
  std::string file_name_;
  std::vector<Ref<IStreamToken>> tokens_;   // ready to deliver, the next one last
  std::vector<Ref<IStreamToken>> scratch_;  // of the expression that is being read
  std::vector<EchoItem> echo_;
  bool echo_starts_blank_ = false;
  Ref<IStreamToken> last_;
  std::int32_t depth_ = 0;  // open parentheses among the tokens delivered
  std::int32_t line_number_ = 1;
  std::int32_t column_ = 1;  // of the next character
  std::int32_t token_column_ = 1;
  bool after_return_ = false;   // a line feed that comes now belongs to the line end before
  std::int32_t word_line_ = 1;  // where the word ended
  std::string whitespace_;
  std::string text_;  // of the token that is being read
};

}  // namespace reasoner
