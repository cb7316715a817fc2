#include "reasoner/language/TokenStream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <iterator>
#include <utility>

#include "reasoner/functions/Context.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

namespace {

enum THint : std::int32_t { kHintEnd = -1, kHintWord = 0, kHintCrlf = 13, kHintString = 34 };

// The texts that recur are shared by all tokens.
const Text& PunctuationText(std::int32_t code) {
  static const Text kTexts[] = {"=", "&", "(", ")", "[", "]", "|", "~"};
  return *std::find_if(std::begin(kTexts), std::end(kTexts), [code](const Text& text) {
    return static_cast<unsigned char>(text.view().front()) == code;
  });
}

const Text& EndText() {
  static const Text text("EOF");
  return text;
}

}  // namespace

bool TKBStreamToken::IsPlainValue() const noexcept {
  switch (data_type_) {
    case dtAtom:
    case dtString:
    case dtInteger:
    case dtVariable:
    case dtFloat:
    case dtMultiVariable:
      return true;
    default:
      return false;
  }
}

Ref<IKBValue> TKBStreamToken::Value() const {
  const auto integer = [this] {
    const std::optional<std::int32_t> whole = TruncateToInteger(number_);
    if (!whole) Raise(SNotCorrectType, "integer", FloatToText(number_), GetKBTypeName(dtFloat));
    return *whole;
  };
  const auto address = [this] {
    return std::bit_cast<void*>(static_cast<std::uintptr_t>(static_cast<std::int64_t>(number_)));
  };
  switch (data_type_) {
    case dtAtom:
      if (text_ == "TRUE") return FCTrue;
      if (text_ == "FALSE") return FCFalse;
      if (EqualsIgnoreCase(text_, "nil")) return FCNil;
      return NewAtom(text_);
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      return Make<TKBValue>(text_, static_cast<TKBType>(data_type_));
    case dtFactId:
      return NewFactId(static_cast<TFactId>(number_));
    case dtInteger:
    case dtDescriptor:
      return Make<TKBValue>(integer(), static_cast<TKBType>(data_type_));
    case dtFloat:
      return NewFloat(number_);
    case dtObject: {
      Ref<IKBValue> value = Make<TKBValue>();
      value->SetAsObject(static_cast<TObject*>(address()));
      return value;
    }
    case dtExternalAddress: {
      Ref<IKBValue> value = Make<TKBValue>();
      value->SetAsExternalAddress(address());
      return value;
    }
    case dtNone:
      if (text_ == EndText()) return FCEOF;
      break;
    default:
      break;
  }
  return NewString(IntegerToText(data_type_));
}

Ref<IKBValue> TKBStreamToken::Value(TKBContext* context) const {
  if (context == nullptr || (data_type_ != dtVariable && data_type_ != dtMultiVariable))
    return Value();
  if (const TBinding* binding = context->FindBinding(text_)) {
    if (binding->Value) return binding->Value;
    if (Ref<IKBValue> value = context->FindValue(text_)) return value;
  }
  const std::string_view name = text_;
  if (name.size() >= 2 && name.find_first_not_of('?') == std::string_view::npos)
    Raise(SEncodingProblem, name);
  Raise(SUnknownVariable, name);
}

void TKBStreamToken::SetValue(const IKBValue& value) {
  data_type_ = value.GetDType();
  switch (value.GetDType()) {
    case dtAtom:
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      text_ = value.GetAsString();
      break;
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
    case dtFloat:
      number_ = value.GetAsNumeric();
      break;
    case dtObject:
    case dtExternalAddress:
      number_ = static_cast<double>(std::bit_cast<std::uintptr_t>(value.GetAsExternalAddress()));
      break;
    default:
      break;
  }
}

void TKBStreamToken::Assign(const TKBStreamToken& source) {
  data_type_ = source.data_type_;
  line_number_ = source.line_number_;
  column_ = source.column_;
  number_ = source.number_;
  text_ = source.text_;
  tag_ = source.tag_;
  has_generated_name_ = source.has_generated_name_;
}

Ref<IStreamToken> TKBStreamToken::Clone() const {
  Ref<IStreamToken> clone = Make<TKBStreamToken>();
  clone->Assign(*this);
  return clone;
}

bool TKBStreamToken::Equals(const TKBStreamToken& other) const noexcept {
  return data_type_ == other.data_type_ && line_number_ == other.line_number_ &&
         number_ == other.number_;
}

std::string TKBStreamToken::ToString() const {
  switch (data_type_) {
    case dtString:
      return "\\\"" + text_.str() + "\"\\";
    case dtInteger:
      return TruncateToInteger(number_) ? IntegerToText(*TruncateToInteger(number_))
                                        : FloatToText(number_);
    case dtFloat:
      return FloatToText(number_);
    case dtVariable:
      return "?" + text_.str();
    case dtMultiVariable:
      return "$?" + text_.str();
    default:
      if (text_.empty() && data_type_ > 0 && data_type_ < 256)
        return std::string(1, static_cast<char>(data_type_));
      return text_.str();
  }
}

TKBClipsStream::TKBClipsStream(TStream* stream, const TEncoding* encoding)
    : TKBTokenizerStream(stream, encoding) {}

TKBClipsStream::TKBClipsStream(std::unique_ptr<TStream> stream, const TEncoding* encoding)
    : TKBTokenizerStream(std::move(stream), encoding) {}

TKBClipsStream::~TKBClipsStream() = default;

// Characters, with lines and columns counted: a line ends in a carriage return, a line feed or
// both.

int TKBClipsStream::NextChar() {
  const int next = RawChar();
  if (next == kEnd) return next;
  if (next == '\n' || next == '\r') {
    if (next == '\r' || !after_return_) ++line_number_;
    column_ = 1;
    after_return_ = next == '\r';
    return next;
  }
  after_return_ = false;
  if ((next & 0xC0) != 0x80) ++column_;  // what continues a character has no column of its own
  return next;
}

void TKBClipsStream::PutBackChar(char character) {
  PutBack(character);
  --column_;
}

int TKBClipsStream::GetChar() { return NextChar(); }

std::string TKBClipsStream::GetLine() {
  std::string line = TakeLine();
  whitespace_.clear();
  return line;
}

void TKBClipsStream::Put(std::string_view text) {
  Clear();
  after_return_ = false;
  TKBTokenizerStream::Put(text);
}

std::string TKBClipsStream::TakeLine() {
  if (after_return_) {
    after_return_ = false;
    const int next = RawChar();
    if (next != '\n' && next != kEnd) PutBack(static_cast<char>(next));
  }
  std::string line = TKBTokenizerStream::GetLine();
  ++line_number_;
  column_ = 1;
  return line;
}

bool TKBClipsStream::SkipInLineSpaces() {
  for (;;) {
    const int line = line_number_;
    const int next = NextChar();
    if (next == kEnd) return false;
    if (!Has(next, kSpace)) {
      PutBackChar(static_cast<char>(next));
      return false;
    }
    whitespace_ += static_cast<char>(next);
    if (line_number_ != line) return true;
  }
}

// Tokens.

Ref<IStreamToken> TKBClipsStream::BuildNextToken() {
  for (;;) {
    text_.clear();
    while (SkipInLineSpaces() && !AtEnd()) {
    }
    token_column_ = column_;
    const int first = NextChar();
    if (first == kEnd) return FinishToken(kHintEnd, text_);
    if (Has(first, kPunctuation)) {
      text_ += static_cast<char>(first);
      return FinishToken(first, text_);
    }
    if (first == '"') {
      ReadString();
      return FinishToken(kHintString, text_);
    }
    if (first != ';') return BuildWord(static_cast<char>(first));
    whitespace_ += ';';
    whitespace_ += TakeLine();
    whitespace_ += NewLineString;
  }
}

Ref<IStreamToken> TKBClipsStream::BuildWord(char first) {
  // A `\` at the start is a character like any other, unless the one behind it could not stand
  // there as itself: then the word is the atom of that text, whatever it looks like.
  bool is_atom = false;
  if (first == '\\') {
    const int next = NextChar();
    is_atom = Has(next, kQuoted);
    if (is_atom) {
      first = static_cast<char>(next);
    } else if (next != kEnd) {
      PutBackChar(static_cast<char>(next));
    }
  }
  text_ += first;
  const bool at_end = ReadWord();
  // The token keeps the number of its own line when a line end has closed the word.
  const std::int32_t line_after = std::exchange(line_number_, word_line_);
  const Ref<IStreamToken> token =
      is_atom ? FinishToken(kHintWord, {}) : FinishToken(at_end ? kHintEnd : kHintWord, text_);
  if (is_atom) token->SetText(text_);
  line_number_ = line_after;
  return token;
}

// Reads on to the end of the word; tells whether the stream ended there.
bool TKBClipsStream::ReadWord() {
  for (;;) {
    word_line_ = line_number_;
    int next = NextChar();
    if (next == kEnd) return true;
    if (Has(next, kSpace)) {
      whitespace_ += static_cast<char>(next);
      return false;
    }
    if (next == '\\') {
      next = NextChar();
      word_line_ = line_number_;
      if (next == kEnd) return true;
    } else if (Has(next, kEndsWord)) {
      PutBackChar(static_cast<char>(next));
      return false;
    }
    text_ += static_cast<char>(next);
  }
}

void TKBClipsStream::ReadString() {
  const std::int32_t line = line_number_;
  // In the literal meaning a character behind a backslash stands for itself, whatever it is.
  const bool reads_escapes = engine_ == nullptr || engine_->GetLink()->textbook_semantics;
  for (int next = NextChar(); next != '"'; next = NextChar()) {
    if (next == '\\') {
      next = NextChar();
      if (reads_escapes && next == 'n') next = '\n';
      if (reads_escapes && next == 't') next = '\t';
    }
    if (next == kEnd) {
      throw EKBParseException(FillMessage(SUnterminatedString), file_name_, line, token_column_);
    }
    text_ += static_cast<char>(next);
  }
}

Text TKBClipsStream::Generated(std::string_view prefix) {
  if (engine_ == nullptr) Raise(SUnknownEngine);
  return engine_->GenerateSymbol(prefix);
}

// All generated names of variables begin with an underscore.
void TKBClipsStream::KeepName(std::string_view name) {
  if (!name.starts_with('_') || engine_ == nullptr) return;
  engine_->KeepSymbol(name);
  keeps_names_ = true;
}

void TKBClipsStream::Classify(IStreamToken& token, std::string_view word) {
  token.SetDataType(dtAtom);
  if (word.starts_with('?')) {
    token.SetDataType(dtVariable);
    if (word.size() == 1) return token.SetGeneratedName(Generated(SBlankPrefix));
    token.SetText(word.substr(1));
    KeepName(word.substr(1));
  } else if (word.starts_with("$?")) {
    token.SetDataType(dtMultiVariable);
    if (word.size() == 2) return token.SetGeneratedName(Generated(SBlankMulti));
    token.SetText(word.substr(2));
    KeepName(word.substr(2));
  } else if (word.empty() || !IsNumberWord(word)) {
    token.SetText(word);
    if (word.starts_with(SGeneratedAtomPrefix) && engine_ != nullptr) engine_->KeepSymbol(word);
  } else if (const auto integer = TextToInteger(word)) {
    token.SetDataType(dtInteger);
    token.SetNumber(*integer);
  } else {
    token.SetDataType(dtFloat);
    token.SetNumber(*TextToFloat(word));
  }
}

Ref<IStreamToken> TKBClipsStream::FinishToken(std::int32_t hint, std::string_view text) {
  Ref<IStreamToken> token = Make<TKBStreamToken>();
  token->SetLineNumber(line_number_);
  token->SetColumn(token_column_);
  bool takes_whitespace = true;
  switch (hint) {
    case kHintEnd:
      takes_whitespace = text.empty();
      if (text.empty()) {
        token->SetText(EndText());
      } else {
        Classify(*token, text);
      }
      break;
    case kHintWord:
      Classify(*token, text);
      break;
    case kHintCrlf:
      token->SetDataType(dtAtom);
      token->SetText("CRLF");
      break;
    case kHintString:
      token->SetDataType(dtString);
      token->SetText(text);
      break;
    default:
      if (hint < 0 || hint > 127 || !Has(hint, kPunctuation)) {
        throw EKBParseException(FillMessage(SInvalidTokenHint, IntegerToText(hint)), file_name_,
                                line_number_, token_column_);
      }
      token->SetDataType(hint);
      token->SetText(text.size() == 1 && text.front() == hint ? PunctuationText(hint) : Text(text));
  }
  if (takes_whitespace) token->SetWhitespace(std::exchange(whitespace_, {}));
  return token;
}

// The look-ahead.

void TKBClipsStream::ReadExpression() {
  ClearEcho();
  scratch_.clear();  // what a failure left behind
  std::int32_t depth = 0;
  keeps_names_ = false;
  try {
    do {
      scratch_.push_back(BuildNextToken());
      const IStreamToken& token = *scratch_.back();
      if (token.IsEnd()) break;
      if (token.Is('(')) ++depth;
      if (token.Is(')')) --depth;
      // A parenthesis too many closes nothing: it is an expression by itself.
    } while (depth > 0);
    if (keeps_names_) RenameWildcards();
  } catch (...) {
    scratch_.clear();
    throw;
  }
  tokens_.assign(std::make_move_iterator(scratch_.rbegin()),
                 std::make_move_iterator(scratch_.rend()));
  scratch_.clear();
}

// A wildcard that stands before a written name may have got that name. The names that are generated
// now meet none of the expression.
void TKBClipsStream::RenameWildcards() {
  for (const Ref<IStreamToken>& token : scratch_) {
    if (!token->HasGeneratedName()) continue;
    token->SetGeneratedName(Generated(token->Is(dtVariable) ? SBlankPrefix : SBlankMulti));
  }
}

Ref<IStreamToken> TKBClipsStream::NextToken() {
  if (tokens_.empty()) ReadExpression();
  Ref<IStreamToken> token = std::move(tokens_.back());
  tokens_.pop_back();
  echo_.push_back({token, last_ && token->GetLineNumber() > last_->GetLineNumber(), false});
  last_ = token;
  if (token->Is('(')) ++depth_;
  if (token->Is(')')) --depth_;
  return token;
}

Ref<IStreamToken> TKBClipsStream::NextSingleToken() {
  if (!tokens_.empty()) return NextToken();
  ClearEcho();
  last_ = BuildNextToken();
  return last_;
}

void TKBClipsStream::PutBackToken(const Ref<IStreamToken>& token) {
  Given(token, "token");
  tokens_.push_back(token);
  last_ = token;
  if (!echo_.empty()) echo_.pop_back();
  if (echo_.empty()) {
    echo_starts_blank_ = true;
  } else {
    echo_.back().trimmed = true;
  }
  if (token->Is('(')) --depth_;
  if (token->Is(')')) ++depth_;
}

std::string TKBClipsStream::Head() {
  const Ref<IStreamToken> token = NextToken();
  if (!token->Is('(') || tokens_.empty()) return "";
  const Ref<IStreamToken> head = tokens_.back();
  PutBackToken(token);
  return head->Is(dtAtom) || head->Is('=') ? head->ToString() : "";
}

void TKBClipsStream::MoveToNextConstruct() {
  // A parenthesis too many has closed nothing that was open.
  if (depth_ < 0) depth_ = 0;
  while (depth_ > 0) {
    if (NextToken()->IsEnd()) break;
  }
}

void TKBClipsStream::Clear() {
  tokens_.clear();
  ClearEcho();
}

void TKBClipsStream::DiscardUntilEOL() {
  if (last_) {
    const std::int32_t line = last_->GetLineNumber();
    while (!tokens_.empty() && tokens_.back()->GetLineNumber() == line) {
      if (tokens_.back()->Is('(')) ++depth_;
      if (tokens_.back()->Is(')')) --depth_;
      tokens_.pop_back();
    }
    // What came behind the token may have ended its line already.
    if (!tokens_.empty() || line_number_ > line) return;
  }
  TakeLine();
}

const Ref<IStreamToken>& TKBClipsStream::GetCurrentToken() {
  if (!last_) NextToken();
  return last_;
}

void TKBClipsStream::ClearEcho() {
  echo_.clear();
  echo_starts_blank_ = false;
}

std::string TKBClipsStream::ToString() const {
  std::string text = echo_starts_blank_ ? " " : "";
  for (const EchoItem& item : echo_) {
    if (item.line_break) text += NewLineString;
    text += item.token->ToString();
    text += ' ';
    if (!item.trimmed) continue;
    text.resize(TrimRight(text).size());
    text += ' ';
  }
  return text;
}

}  // namespace reasoner
