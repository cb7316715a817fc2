// Text in and out: parsing, printing, loading and the logical streams.

#include <exception>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/support/FirstFailure.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// Gives the parser a stream for the length of one text; the old one comes back on every way out, so
// that a function that runs while a text is being read may have another one read.
class TReasoner::ScopedTokenizer {
 public:
  ScopedTokenizer(TReasoner& engine, TKBTokenizerStream& tokenizer)
      : engine_(engine), parser_(*engine.parser_), old_(parser_.GetTokenizer()) {
    parser_.SetStream(&tokenizer);
    ++engine_.parses_;
  }
  ~ScopedTokenizer() {
    parser_.SetStream(old_);
    if (--engine_.parses_ > 0) return;
    engine_.old_parsers_.clear();
    if (!engine_.running_) engine_.placed_failure_ = nullptr;
  }
  ScopedTokenizer(const ScopedTokenizer&) = delete;
  ScopedTokenizer& operator=(const ScopedTokenizer&) = delete;

  TKBParser& GetParser() const noexcept { return parser_; }

 private:
  TReasoner& engine_;
  TKBParser& parser_;
  TKBTokenizerStream* old_;
};

// Failures are noted on their way out, from the inside to the outside. The object that is thrown
// tells whether it is still the one that was noted last: another failure may have been caught since
// then.

void TReasoner::NoteFailure() {
  const std::exception_ptr failure = std::current_exception();
  if (failure == placed_failure_) return;
  placed_failure_ = failure;
  failure_place_ = TFailurePlace();
}

void TReasoner::NoteFailedRule(const std::string& rule_name) {
  NoteFailure();
  failure_place_.rule = rule_name;
}

static TTextPlace LastPlace(const TKBClipsStream& tokenizer) {
  const IStreamToken* const token = tokenizer.GetLastToken();
  if (token == nullptr) return {tokenizer.GetFileName(), tokenizer.GetLineNumber(), 0};
  return {tokenizer.GetFileName(), token->GetLineNumber(), token->GetColumn()};
}

// The parser's own failures know their place, which may lie before the last token.
static TTextPlace FailedPlace(const TKBClipsStream& tokenizer) {
  try {
    throw;
  } catch (const EKBParseException& failure) {
    if (failure.LineNumber > 0) return {failure.File, failure.LineNumber, failure.Column};
  } catch (...) {
    // The last token has to do.
  }
  return LastPlace(tokenizer);
}

void TReasoner::NoteFailedText(const TKBClipsStream& tokenizer) {
  NoteFailure();
  TTextPlace& innermost = failure_place_;
  if (innermost.line == 0) {
    innermost = FailedPlace(tokenizer);
  } else if (innermost.file.empty()) {
    // A text that a program made says less than the text that holds the program.
    innermost = LastPlace(tokenizer);
  } else if (!tokenizer.GetFileName().empty() || parses_ == 1) {
    failure_place_.loaded_from.push_back(LastPlace(tokenizer));
  }
}

template <class TOperation>
auto TReasoner::WithStream(TStream& stream, const TEncoding* encoding, const TTextPlace& start,
                           TOperation operation) {
  ForgetFailure();
  const ScopedOperation scoped(*this);
  const std::unique_ptr<TKBTokenizerStream> tokenizer = NewTokenizer(stream, encoding);
  auto* const clips = dynamic_cast<TKBClipsStream*>(tokenizer.get());
  if (clips != nullptr) {
    clips->SetFileName(start.file);
    clips->SetPlace(start.line, start.column);
  }
  const ScopedTokenizer scope(*this, *tokenizer);
  try {
    return operation(scope.GetParser());
  } catch (const EAbort&) {
    throw;
  } catch (...) {
    if (clips != nullptr) NoteFailedText(*clips);
    throw;
  }
}

template <class TOperation>
auto TReasoner::WithText(std::string_view text, TOperation operation) {
  TKitStringStream stream{std::string(text)};
  return WithStream(stream, nullptr, {"", 1, 1}, operation);
}

// A text that holds one thing: whatever stands behind it is a failure, and nothing is left out in
// silence.
template <class TOperation>
auto TReasoner::WithWholeText(std::string_view text, TOperation operation) {
  return WithText(text, [&operation](TKBParser& parser) {
    auto result = operation(parser);
    parser.ParseEnd();
    return result;
  });
}

// Loading: what was printed to a file meanwhile is in it when the load has ended.
template <class TOperation>
void TReasoner::LoadStream(TStream& stream, const TEncoding* encoding, const std::string& file_name,
                           TOperation operation) {
  Flushed([&] { return WithStream(stream, encoding, {file_name, 1, 1}, operation); });
}

template <class TOperation>
void TReasoner::LoadFile(const std::string& file_name, const TEncoding* encoding,
                         TOperation operation) {
  FlushStreams();
  TFileStream stream(file_name, fmOpenRead);
  LoadStream(stream, encoding, file_name, operation);
}

bool TReasoner::Parse(std::string_view text, bool execute) {
  return Parse(text, execute, {"", 1, 1});
}

bool TReasoner::Parse(std::string_view text, bool execute, const TTextPlace& start) {
  TKitStringStream stream{std::string(text)};
  return WithStream(stream, nullptr, start,
                    [execute](TKBParser& parser) { return parser.Parse(execute); });
}

// Takes one double quote after another off both ends.
static std::string_view WithoutQuotes(std::string_view text) {
  while (text.starts_with('"')) text.remove_prefix(1);
  while (text.ends_with('"')) text.remove_suffix(1);
  return text;
}

Ref<IKBValue> TReasoner::Parse(std::string_view text, TKBType type) {
  Ref<IKBValue> value = Make<TKBValue>();
  switch (type) {
    case dtNone:
      break;
    case dtString:
      value->SetAsString(WithoutQuotes(text));
      break;
    case dtAtom:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      value = Make<TKBValue>(Text(text), type);
      break;
    case dtInteger:
    case dtFactId: {
      std::optional<std::int64_t> number = TextToLongInteger(text);
      if (type == dtInteger && !TextToInteger(text)) number.reset();
      if (!number) Raise(SNotCorrectType, "integer", text, GetKBTypeName(dtString));
      value = Make<TKBValue>(*number, type);
      break;
    }
    case dtFloat: {
      const std::optional<double> number = TextToFloat(text);
      if (!number) Raise(SNotCorrectType, "numeric", text, GetKBTypeName(dtString));
      value->SetAsFloat(*number);
      break;
    }
    case dtFact:
      value->SetAsFact(ParseFact(text));
      break;
    case dtFunCall:
      value->SetAsFunCall(ParseFunCall(text));
      break;
    case dtList: {
      const Ref<IValueVector> list = ParseList(text);
      return list->GetValueCount() == 0 ? Ref<IKBValue>(FCNilList) : NewList(list);
    }
    default:
      if (type >= kKBTypeCount)
        Raise(SParseTypeError, FillMessage(SUnknownType, std::int32_t{type}));
      Raise(SParseTypeError, GetKBTypeName(type));
  }
  return value;
}

Ref<IKBDefinedType> TReasoner::ParseDefinedType(std::string_view text) {
  return WithWholeText(text, [](TKBParser& parser) { return parser.ParseDefinedType(); });
}

Ref<IFact> TReasoner::ParseFact(std::string_view text) {
  return WithWholeText(text, [](TKBParser& parser) { return parser.ParseFact(); });
}

std::vector<Ref<IFact>> TReasoner::ParseFacts(std::string_view text) {
  return WithText(text, [](TKBParser& parser) {
    std::vector<Ref<IFact>> facts;
    do {
      facts.push_back(parser.ParseFact());
    } while (!parser.AtEnd());
    return facts;
  });
}

std::string TReasoner::ParseFactSlot(IFact& fact, std::string_view text) {
  return WithText(text, [&fact](TKBParser& parser) {
    std::string name;
    parser.ParseFactSlot(fact, name);
    return name;
  });
}

std::unique_ptr<TFactSet> TReasoner::ParseFactSet(std::string_view text) {
  return WithWholeText(text, [](TKBParser& parser) { return parser.ParseFactSet(); });
}

Ref<IFactTemplate> TReasoner::ParseFactTemplate(std::string_view text) {
  return WithWholeText(text, [](TKBParser& parser) { return parser.ParseFactTemplate(); });
}

Ref<IFactSlot> TReasoner::ParseFactTemplateSlot(std::string_view text) {
  return WithWholeText(text, [](TKBParser& parser) { return parser.ParseFactTemplateSlot(); });
}

Ref<IUserFunction> TReasoner::ParseFunction(std::string_view text) {
  return WithWholeText(text, [](TKBParser& parser) { return parser.ParseFunction(); });
}

Ref<IFunCall> TReasoner::ParseFunCall(std::string_view text) {
  return WithWholeText(text, [](TKBParser& parser) { return parser.ParseFunCall(); });
}

bool TReasoner::ParseGlobalVariables(std::string_view text) {
  return WithText(text, [](TKBParser& parser) { return parser.ParseGlobalVariables(); });
}

Ref<IKBValue> TReasoner::ParseVariable(std::string_view text, std::string& name) {
  return WithText(text, [&name](TKBParser& parser) { return parser.ParseVariable(name); });
}

Ref<IValueVector> TReasoner::ParseList(std::string_view text) {
  return WithText(text, [](TKBParser& parser) { return parser.ParseList(); });
}

Ref<IKBValue> TReasoner::ParseNExecuteFunCall(std::string_view text) {
  // The stream stays while they run: a call may look at it.
  return WithText(text, [this](TKBParser& parser) {
    std::vector<Ref<IFunCall>> fun_calls;
    do {
      fun_calls.push_back(parser.ParseFunCall());
    } while (!parser.AtEnd());
    Ref<IKBValue> result;
    for (const Ref<IFunCall>& fun_call : fun_calls) fun_call->Execute(context_.get(), result);
    return result;
  });
}

std::unique_ptr<TRule> TReasoner::ParseRule(std::string_view text) {
  std::unique_ptr<TRule> rule =
      WithWholeText(text, [](TKBParser& parser) { return parser.ParseRule(); });
  RemoveComponent(*rule);  // the caller's alone
  return rule;
}

void TReasoner::ParseRulePatterns(TRule& rule, TVariableTable& variables, std::string_view text) {
  WithText(text, [&](TKBParser& parser) { parser.ParseRulePatterns(rule, variables); });
}

void TReasoner::ParseRuleActions(TRule& rule, TVariableTable& variables, std::string_view text) {
  WithText(text, [&](TKBParser& parser) { parser.ParseRuleActions(rule, variables); });
}

Ref<ISingletonsVector> TReasoner::ParseSingletons(std::string_view text) {
  return WithWholeText(text, [](TKBParser& parser) { return parser.ParseSingletons(); });
}

Ref<IFuzzySet> TReasoner::ParseFuzzySet(IFuzzyVariable* variable, std::string_view text) {
  if (variable == nullptr) Raise(SUndefinedFuzzyVariable);
  return WithText(text, [variable](TKBParser& parser) { return parser.ParseFuzzySet(*variable); });
}

Ref<IFuzzyVariable> TReasoner::ParseFuzzyVariable(std::string_view text) {
  return WithText(text, [](TKBParser& parser) { return parser.ParseFuzzyVariable(); });
}

Ref<IKBValue> TReasoner::ParseValue(std::string_view text) {
  return WithText(text, [](TKBParser& parser) { return parser.ParseValue(); });
}

Ref<IKBValue> TReasoner::ParseValue(std::string_view text, const IFactSlot& slot) {
  return WithText(text, [&slot](TKBParser& parser) { return parser.ParseValue(slot); });
}

Ref<IKBValue> TReasoner::ParseSlotValueText(std::string_view text, const IFactSlot& slot) {
  return ParseValue(text, slot);
}

Ref<IKBValue> TReasoner::ParseValue(std::string_view text, TKBTypes types,
                                    const Ref<IKBDefinedType>& type) {
  return WithText(text, [&](TKBParser& parser) { return parser.ParseValue(types, type); });
}

void TReasoner::LoadFromStream(TStream& stream, const TEncoding* encoding) {
  LoadStream(stream, encoding, "", [](TKBParser& parser) { return parser.Load(); });
}

void TReasoner::LoadFromFile(const std::string& file_name, const TEncoding* encoding) {
  LoadFile(file_name, encoding, [](TKBParser& parser) { return parser.Load(); });
}

void TReasoner::LoadFacts(TStream& stream, const TEncoding* encoding) {
  LoadStream(stream, encoding, "", [](TKBParser& parser) { return parser.LoadFacts(); });
}

void TReasoner::LoadFacts(const std::string& file_name, const TEncoding* encoding) {
  LoadFile(file_name, encoding, [](TKBParser& parser) { return parser.LoadFacts(); });
}

template <class TClear>
static auto ClearedFirst(TClear clear) {
  return [clear](TKBParser& parser) {
    clear();
    return parser.Load();
  };
}

void TReasoner::LoadRules(TStream& stream, const TEncoding* encoding) {
  LoadStream(stream, encoding, "", ClearedFirst([this] { rules_->Clear(); }));
}

void TReasoner::LoadRules(const std::string& file_name, const TEncoding* encoding) {
  LoadFile(file_name, encoding, ClearedFirst([this] { rules_->Clear(); }));
}

void TReasoner::LoadFactTemplates(TStream& stream, const TEncoding* encoding) {
  LoadStream(stream, encoding, "", ClearedFirst([this] { ClearTemplates(); }));
}

void TReasoner::LoadFactTemplates(const std::string& file_name, const TEncoding* encoding) {
  LoadFile(file_name, encoding, ClearedFirst([this] { ClearTemplates(); }));
}

void TReasoner::LoadDefinedTypes(TStream& stream, const TEncoding* encoding) {
  LoadStream(stream, encoding, "", ClearedFirst([this] { ClearTypes(); }));
}

void TReasoner::LoadDefinedTypes(const std::string& file_name, const TEncoding* encoding) {
  LoadFile(file_name, encoding, ClearedFirst([this] { ClearTypes(); }));
}

void TReasoner::SetExpertSystem(std::string_view text) {
  TKitStringStream stream{std::string(text)};
  FirstFailure failures;
  failures.Try([&] { LoadStream(stream, nullptr, "", ClearedFirst([this] { Clear(); })); });
  failures.Try([this] { Reset(); });
  failures.Raise();
}

// Logical streams.

static bool IsTerminal(const std::string& name) { return name.empty() || name == "t"; }

void TReasoner::PrintOut(const std::string& out_id, const std::string& text) {
  if (IsTerminal(out_id)) {
    if (const std::shared_ptr<TStream> capture = capture_)
      return WriteStringToStream(*capture, text, capture_encoding_);
    OnPrintOut(*this, out_id, text);
    return;
  }
  if (const std::shared_ptr<TGTextStream> stream = io_streams_->Find(out_id)) {
    stream->Put(text);
  } else if (OnUnknownStream.IsHeard()) {
    OnUnknownStream(*this, out_id, text);
  } else if (!OnPrintOut.IsHeard()) {
    Raise(SNoSuchFunction, "printout");
  }
}

void TReasoner::FlushStreams() {
  FirstFailure failures;
  failures.Try([this] { io_streams_->Flush(); });
  failures.Try([this] {
    if (const std::shared_ptr<TStream> capture = capture_) capture->Flush();
  });
  failures.Raise();
}

bool TReasoner::StartCapture(std::unique_ptr<TStream> stream, const TEncoding* encoding) {
  if (!stream) return false;
  WritePreambleToStream(*stream, encoding);
  const std::shared_ptr<TStream> old = std::exchange(capture_, std::move(stream));
  capture_encoding_ = encoding;
  if (old) old->Flush();
  return true;
}

bool TReasoner::StartCapture(const std::string& file_name, const TEncoding* encoding) {
  FlushStreams();  // the file may be one of those that are open
  std::unique_ptr<TStream> stream;
  try {
    stream = std::make_unique<TFileStream>(file_name, fmCreate);
  } catch (const EKitException&) {
    return false;
  }
  return StartCapture(std::move(stream), encoding);
}

bool TReasoner::StopCapture() {
  if (const std::shared_ptr<TStream> capture = std::exchange(capture_, nullptr)) capture->Flush();
  return true;
}

bool TReasoner::Batch(TStream& stream, const TEncoding* encoding) {
  const DepthGuard guard("batch");
  const std::string file_name = std::exchange(batch_file_name_, "");
  std::unique_ptr<TKBTokenizerStream> tokenizer = NewTokenizer(stream, encoding);
  TKBTokenizerStream& lines = *tokenizer;
  std::swap(batch_, tokenizer);
  struct Nested {
    TReasoner& engine;
    std::unique_ptr<TKBTokenizerStream>& outer;
    ~Nested() { std::swap(engine.batch_, outer); }
  } nested{*this, tokenizer};
  const auto* const place = dynamic_cast<const TKBClipsStream*>(&lines);
  return Flushed([&] {
    while (!lines.AtEnd()) {
      const std::int32_t number = place == nullptr ? 1 : place->GetLineNumber();
      TKitStringStream line(lines.GetLine());
      WithStream(line, nullptr, {file_name, number, 1},
                 [](TKBParser& parser) { return parser.Parse(true); });
    }
    return true;
  });
}

bool TReasoner::Batch(const std::string& file_name, const TEncoding* encoding) {
  FlushStreams();
  TFileStream stream(file_name, fmOpenRead);
  batch_file_name_ = file_name;
  return Batch(stream, encoding);
}

std::string TReasoner::ReadLine(const std::string& in_id) {
  input_ended_ = false;
  if (!IsTerminal(in_id)) {
    if (const std::shared_ptr<TGTextStream> stream = io_streams_->Find(in_id)) {
      input_ended_ = stream->AtEnd();
      return input_ended_ ? std::string() : stream->GetLine();
    }
  }
  std::string text;
  if (batch_) {
    input_ended_ = batch_->AtEnd();
    text = batch_->GetLine();
    PrintOut(text + std::string(NewLineString));
    return text;
  }
  if (!OnReadLine) Raise(SNoReadFunctionWarning, "readline");
  OnReadLine(*this, in_id, text);
  return text;
}

static Ref<IStreamToken> TakeToken(TKBTokenizerStream& stream) {
  Ref<IStreamToken> token = stream.NextSingleToken();
  stream.DiscardUntilEOL();
  return token;
}

Ref<IStreamToken> TReasoner::ReadToken(const std::string& in_id) {
  if (!IsTerminal(in_id)) {
    if (const std::shared_ptr<TGTextStream> stream = io_streams_->Find(in_id)) {
      auto* tokenizer = dynamic_cast<TKBTokenizerStream*>(stream.get());
      if (tokenizer == nullptr) Raise(SInvalidStreamClass, "read");
      return TakeToken(*tokenizer);
    }
  }
  Ref<IStreamToken> token;
  if (batch_) {
    token = TakeToken(*batch_);
    PrintOut(token->ToString() + std::string(NewLineString));
    return token;
  }
  if (!OnReadToken) Raise(SNoReadFunctionWarning, "read");
  OnReadToken(*this, in_id, token);
  // A handler that gives nothing is at the end of its input.
  return token ? token : Make<TKBStreamToken>(std::int32_t{dtNone}, Text("EOF"));
}

// Printing.

std::string TReasoner::PrettyPrint(const TFactSet& fact_set) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(fact_set);
}
std::string TReasoner::PrettyPrint(const IFact& fact) { return parser_->PrettyPrint(fact); }
std::string TReasoner::PrettyPrint(const IFunCall& fun_call) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(fun_call);
}
std::string TReasoner::PrettyPrint(const IUserFunction& function) {
  return parser_->PrettyPrint(function);
}
std::string TReasoner::PrettyPrint(const IInterpretedFunction& function) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(function);
}
std::string TReasoner::PrettyPrint(const IKBDefinedType& type) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(type);
}
std::string TReasoner::PrettyPrint(const IFactSlot& slot) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(slot);
}
std::string TReasoner::PrettyPrint(const IFactTemplate& fact_template) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(fact_template);
}
std::string TReasoner::PrettyPrint(const TRule& rule) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(rule);
}
std::string TReasoner::PrettyPrint(const TKBPattern& pattern) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(pattern);
}
std::string TReasoner::PrettyPrint(const ISingletonsVector& singletons) {
  return parser_->PrettyPrint(singletons);
}
std::string TReasoner::PrettyPrint(const IFact& fact, std::string_view slot_name) {
  return parser_->PrettyPrint(fact, slot_name);
}
std::string TReasoner::PrettyPrint(const IFact& fact, std::string_view slot_name,
                                   const IKBValue& value) {
  return parser_->PrettyPrint(fact, slot_name, value);
}
std::string TReasoner::PrettyPrint(const IFact& fact, std::string_view slot_name,
                                   std::string_view text) {
  return parser_->PrettyPrint(fact, slot_name, text);
}
std::string TReasoner::PrettyPrint(const TRule& rule, TRuleConstruct construct) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(rule, construct);
}
std::string TReasoner::PrettyPrint(std::string_view variable_name, const IKBValue& value) {
  const ScopedTextEscapes escapes(this);
  return parser_->PrettyPrint(variable_name, value);
}
std::string TReasoner::PrettyPrint(const TValueHashTable& variables) {
  return parser_->PrettyPrint(variables);
}
std::string TReasoner::PrettyPrintGlobalVariables() { return PrettyPrint(*global_variables_); }
std::string TReasoner::PrintFactLine(const IFact& fact) { return FactToSource(fact, true); }

}  // namespace reasoner
