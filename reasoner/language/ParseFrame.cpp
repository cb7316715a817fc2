// The frame of the parser: top-level expressions, the hand-over to the engine, and failures.

#include <algorithm>
#include <limits>
#include <new>
#include <optional>
#include <utility>

#include "reasoner/functions/Context.h"
#include "reasoner/language/ClipsParser.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/language/TextHelpers.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/membership/FuzzyText.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace reasoner {

namespace {

constexpr std::int32_t kNoEnd = 65535;
constexpr std::size_t kLongestEcho = 255;
constexpr std::size_t kEchoPart = 128;

constexpr std::pair<std::string_view, TParsedType> kConstructs[] = {
    {"defrule", ptRule},         {"deffacts", ptFactSet},  {"deftemplate", ptFactTemplate},
    {"deffunction", ptFunction}, {"defglobal", ptGlobals}, {"deftype", ptDefType},
};

// What was returned at top level returns from nothing: it must not reach the next expression.
class ScopedTopLevel {
 public:
  explicit ScopedTopLevel(TKBContext& context) : context_(context) {}
  ~ScopedTopLevel() { context_.ClearReturnValue(); }
  ScopedTopLevel(const ScopedTopLevel&) = delete;
  ScopedTopLevel& operator=(const ScopedTopLevel&) = delete;

 private:
  TKBContext& context_;
};

std::string ShortenEcho(std::string echo) {
  const std::size_t length = Length16(echo);
  if (length <= kLongestEcho) return echo;
  std::string text = Slice16(echo, 0, kEchoPart);
  text += "... ";
  text += NewLineString;
  // The last character is the blank behind the last token.
  return text + Slice16(echo, length - kEchoPart - 1, kEchoPart);
}

}  // namespace

TKBClipsParser::TKBClipsParser(IReasoner& engine, TKBClipsStream* stream)
    : TKBParser(engine, stream), clips_stream_(stream) {
  AddSlotFunction("assert", 0, kNoEnd);
  AddSlotFunction("fuzzy-assert", 0, kNoEnd);
  AddSlotFunction("fuzzy-assert-unconditional", 0, kNoEnd);
  AddSlotFunction("modify", 1, kNoEnd);
  AddSlotFunction("duplicate", 1, kNoEnd);
}

void TKBClipsParser::Assign(const TPersistent& source) {
  TKBParser::Assign(source);
  if (const auto* other = dynamic_cast<const TKBClipsParser*>(&source))
    slot_functions_ = other->slot_functions_;
}

void TKBClipsParser::SetStream(TKBTokenizerStream* stream) {
  auto* const clips_stream = dynamic_cast<TKBClipsStream*>(stream);
  if (stream != nullptr && clips_stream == nullptr) Raise(SInvalidStreamClass, ClassName());
  stream_ = stream;
  clips_stream_ = clips_stream;
}

TKBClipsStream& TKBClipsParser::Stream() const {
  if (clips_stream_ == nullptr) Raise(SInvalidStreamClass, ClassName());
  return *clips_stream_;
}

void TKBClipsParser::Clear() {
  if (clips_stream_ != nullptr) clips_stream_->Clear();
}

std::string TKBClipsParser::GenerateSymbol(std::string_view prefix) {
  return engine_.GenerateSymbol(prefix);
}

std::string TKBClipsParser::GetSyntaxStatement(const IUserFunction& function) {
  return reasoner::GetSyntaxStatement(function);
}

// Functions with facts or slots as arguments.

TKBClipsParser::TSlotFunction* TKBClipsParser::FindSlotFunction(std::string_view name) const {
  const auto found =
      std::find_if(slot_functions_.begin(), slot_functions_.end(),
                   [name](const TSlotFunction& entry) { return entry.name == name; });
  return found == slot_functions_.end() ? nullptr : &*found;
}

void TKBClipsParser::AddSlotFunction(std::string_view name, std::int32_t start, std::int32_t end) {
  slot_functions_.push_back({std::string(name), start, end == 0 ? kNoEnd : end});
}

std::int32_t TKBClipsParser::GetSlotFunctionStart(std::string_view name) const {
  const TSlotFunction* const entry = FindSlotFunction(name);
  return entry == nullptr ? -1 : entry->start;
}

std::int32_t TKBClipsParser::GetSlotFunctionEnd(std::string_view name) const {
  const TSlotFunction* const entry = FindSlotFunction(name);
  return entry == nullptr ? -1 : entry->end;
}

void TKBClipsParser::SetSlotFunctionStart(std::string_view name, std::int32_t start) {
  TSlotFunction* const entry = FindSlotFunction(name);
  if (entry == nullptr) return;
  entry->start = start;
  entry->end = std::max(entry->end, start);
}

void TKBClipsParser::SetSlotFunctionEnd(std::string_view name, std::int32_t end) {
  TSlotFunction* const entry = FindSlotFunction(name);
  if (entry == nullptr) return;
  entry->end = std::max(end, 1);
  entry->start = std::min(entry->start, entry->end);
}

// Failures.

void TKBClipsParser::ParseError(std::string_view location, std::string_view message) {
  const Ref<IStreamToken> token = Stream().GetCurrentToken();
  const std::int32_t line = token->GetLineNumber();
  throw EKBParseException(FillMessage(SParseError, message, location, IntegerToText(line),
                                      ShortenEcho(Stream().ToString())),
                          Stream().GetFileName(), line, token->GetColumn());
}

TKBClipsParser::NestingGuard::NestingGuard(TKBClipsParser& parser, std::string_view location) try
    : guard_("expression") {
} catch (const EKBException& failure) {
  parser.ParseError(location, std::string_view(failure.GetMessage()));
}

void TKBClipsParser::RequireClose(const IStreamToken& token, std::string_view location) {
  if (!token.Is(')')) ParseError(location, SMissingCloseParens);
}

void TKBClipsParser::Expect(char character, std::string_view location) {
  if (Next()->Is(character)) return;
  if (character == '(') ParseError(location, SMissingOpenParens);
  ParseError(location, SMissingCloseParens);
}

bool TKBClipsParser::NextIs(char character) {
  const Ref<IStreamToken> token = Next();
  PutBack(token);
  return token->Is(character);
}

// Top-level expressions.

std::vector<std::string_view> ConstructWords() {
  std::vector<std::string_view> words;
  for (const auto& [word, type] : kConstructs) words.push_back(word);
  return words;
}

TParsedType TKBClipsParser::GetConstructType(const Ref<IStreamToken>& token) {
  if (token->IsEnd()) return ptEOF;
  if (token->IsPlainValue() && !token->Is(dtString)) return ptValue;
  if (!token->Is('(')) ParseError("GetConstructType", SExpectedParenConstVar, token->ToString());
  PutBack(token);
  const std::string head = Stream().Head();
  for (const auto& [word, type] : kConstructs) {
    if (head == word) return type;
  }
  return ptFunCall;
}

void TKBClipsParser::EnterRule(TObject*& object) {
  std::unique_ptr<TRule> rule = ParseRule();
  const ComponentWatch watch(*rule);  // handlers may end it
  try {
    engine_.EnterRule(*rule);
  } catch (...) {
    // A rule that has been entered stays, whatever fails in its matches.
    if (watch.HasEnded() || engine_.HoldsRule(*rule)) rule.release();
    throw;
  }
  if (watch.HasEnded()) {
    rule.release();
  } else if (engine_.HoldsRule(*rule)) {
    object = rule.release();
  }
}

void TKBClipsParser::EnterFactSet(TObject*& object) {
  std::unique_ptr<TFactSet> fact_set = ParseFactSet();
  TComponent& engine = engine_.AsComponent();
  engine.InsertComponent(*fact_set);
  fact_set->SetEngineNoParse(&engine);
  if (engine_.EnterFactSet(*fact_set)) object = fact_set.release();
}

bool TKBClipsParser::ParseExpression(bool execute) {
  const ImpliedGuard implied(*this);
  const ScopedTopLevel top_level(engine_.GetContext());
  Ref<IKBValue> result = FCNil;
  TObject* object = nullptr;
  Ref<IInterface> interface;
  const Ref<IStreamToken> token = Next();
  TParsedType type = GetConstructType(token);
  const bool at_end = type == ptEOF;
  // A call that fails inside of a construct is a failure of the construct.
  struct TCallMark {
    bool& call_failed;
    bool is_call;
    ~TCallMark() {
      if (!is_call) call_failed = false;
    }
  } mark{call_failed_, type == ptFunCall};
  switch (type) {
    case ptValue:
      result = token->Value(&engine_.GetContext());
      break;
    case ptFunCall:
      result = execute ? ParseNExecuteFunCall() : NewFunCallValue(ParseFunCall());
      break;
    case ptRule:
      EnterRule(object);
      break;
    case ptFactSet:
      EnterFactSet(object);
      break;
    case ptFactTemplate: {
      const Ref<IFactTemplate> fact_template = ParseFactTemplate();
      engine_.EnterTemplate(fact_template);
      interface = fact_template;
      break;
    }
    case ptFunction: {
      const Ref<IUserFunction> function = ParseFunction();
      engine_.EnterFunction(function);
      interface = function;
      break;
    }
    case ptGlobals:
      ParseGlobalVariables();
      break;
    case ptDefType: {
      const Ref<IKBDefinedType> defined_type = ParseDefinedType();
      engine_.EnterType(defined_type);
      interface = defined_type;
      break;
    }
    case ptEOF:
    case ptNone:
      result = FCEOF;
      break;
  }
  if (!result || result->Equals(*FCNil)) {
    type = ptNone;
  } else {
    interface = result;
  }
  if (type == ptValue || type == ptFunCall) {
    engine_.PrintOut("", result->ToString() + std::string(NewLineString));
  }
  if (OnParse.IsHeard()) {
    // A handler may end a rule or a fact set: then those behind it are not called.
    std::optional<ComponentWatch> watch;
    if (const auto* component = dynamic_cast<const TComponent*>(object)) watch.emplace(*component);
    OnParse.CallWhile([&watch] { return !watch || !watch->HasEnded(); }, *this, type, object,
                      interface.get());
  }
  return !at_end;
}

bool TKBClipsParser::AtEnd() {
  const Ref<IStreamToken> token = Next();
  PutBack(token);
  return token->IsEnd();
}

void TKBClipsParser::ParseEnd() {
  const Ref<IStreamToken> token = Next();
  if (!token->IsEnd()) ParseError("ParseEnd", SExpectedEnd, token->ToString());
}

bool TKBClipsParser::Parse(bool execute) {
  if (ErrorHandling == ehRaiseAllAtEnd) {
    ParseCollecting();
    return true;
  }
  do {
    engine_.CheckInterrupt();
  } while (ParseExpression(execute));
  return true;
}

// Goes on behind each failure; what was gathered is raised at the end, with the place of the first.
void TKBClipsParser::ParseCollecting() {
  std::vector<EKBParseException> failures;
  const auto add_other = [this, &failures](const std::exception& failure) {
    const Ref<IStreamToken> token = Stream().GetCurrentToken();
    const std::int32_t line = token->GetLineNumber();
    failures.emplace_back(
        FillMessage(SParseError, failure.what(), "Parse", IntegerToText(line), Stream().ToString()),
        Stream().GetFileName(), line, token->GetColumn());
  };
  for (bool going = true; going;) {
    try {
      engine_.CheckInterrupt();
      going = ParseExpression(true);
      continue;
    } catch (const EAbort&) {
      break;
    } catch (const EKBInterrupted&) {
      throw;
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const EKBParseException& failure) {
      failures.push_back(failure);
    } catch (const std::exception& failure) {
      add_other(failure);
    }
    if (static_cast<std::int64_t>(failures.size()) > MaxErrors) break;
    try {
      Stream().MoveToNextConstruct();
    } catch (const EKitException&) {
      break;  // what was gathered says more than what hinders the skipping
    }
  }
  if (failures.empty()) return;
  std::string text;
  for (const EKBParseException& failure : failures) {
    text += failure.GetMessage();
    text += NewLineString;
  }
  const EKBParseException& first = failures.front();
  if (failures.size() > 1) text = FillMessage(SMultipleParseError, text);
  throw EKBParseException(std::move(text), first.File, first.LineNumber, first.Column);
}

// A failure with the place that has been reached in the text.
EKBParseException TKBClipsParser::AtPlace(std::string message) {
  const Ref<IStreamToken> token = Stream().GetCurrentToken();
  return EKBParseException(std::move(message), Stream().GetFileName(), token->GetLineNumber(),
                           token->GetColumn());
}

// One failure that tells all of them.
[[noreturn]] static void RaiseGathered(const std::vector<EKBParseException>& failures,
                                       std::int32_t untold) {
  std::string text;
  for (const EKBParseException& failure : failures) {
    if (!text.empty()) text += NewLineString;
    if (!failure.File.empty())
      text += failure.File + ":" + IntegerToText(failure.LineNumber) + ": ";
    text += failure.GetMessage();
  }
  if (untold > 0) text = FillMessage(SMoreParseErrors, text, untold);
  const EKBParseException& first = failures.front();
  throw EKBParseException(FillMessage(SMultipleParseError, text), first.File, first.LineNumber,
                          first.Column);
}

// A construct that does not fit costs itself alone. A call that fails while it runs ends the load:
// what stands behind it may build on it.
template <class TStep>
void TKBClipsParser::LoadEach(TStep step) {
  constexpr std::size_t kMostTold = 100;
  std::vector<EKBParseException> failures;
  std::exception_ptr only;
  Ref<IStreamToken> reached;  // by the first failure
  Ref<IStreamToken> latest;   // by the last one
  bool is_stuck = false;
  std::int32_t untold = 0;
  const auto add = [&](const EKBParseException& failure, std::exception_ptr raised) {
    // What raises before it reads a token, as a depth limit does, would raise for ever.
    const Ref<IStreamToken> token = Stream().GetCurrentToken();
    is_stuck = token == latest;
    if (is_stuck) return;
    latest = token;
    if (failures.empty()) {
      only = std::move(raised);
      reached = token;
    }
    if (failures.size() < kMostTold) {
      failures.push_back(failure);
    } else {
      ++untold;
    }
  };
  for (bool going = true; going;) {
    try {
      engine_.CheckInterrupt();
      call_failed_ = false;
      going = step();
      continue;
    } catch (const EKBInterrupted&) {
      throw;
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const EAbort&) {
      if (failures.empty()) throw;
      break;
    } catch (const EKBParseException& failure) {
      add(failure, std::current_exception());
    } catch (const std::exception& failure) {
      if (call_failed_ && failures.empty()) throw;
      const EKBParseException placed = AtPlace(failure.what());
      add(placed, std::make_exception_ptr(placed));
      if (call_failed_) break;
    }
    if (is_stuck) break;
    try {
      Stream().MoveToNextConstruct();
    } catch (const EKitException&) {
      break;  // the text ends in the middle of what is skipped
    }
  }
  if (failures.size() > 1) RaiseGathered(failures, untold);
  if (failures.empty()) return;
  PutBack(reached);  // the place of the text is that of the failure, not its end
  std::rethrow_exception(only);
}

bool TKBClipsParser::Load() {
  if (ErrorHandling == ehRaiseAllAtEnd) return Parse(true);
  LoadEach([this] { return ParseExpression(true); });
  return true;
}

bool TKBClipsParser::LoadFacts() {
  LoadEach([this] {
    const ImpliedGuard implied(*this);
    const ScopedTopLevel top_level(engine_.GetContext());
    const Ref<IStreamToken> token = Next();
    if (token->IsEnd()) return false;
    PutBack(token);
    engine_.AssertResolved(ParseFact());
    return true;
  });
  return true;
}

TKBClipsParser::THeader TKBClipsParser::ParseHeader(std::string_view error_message,
                                                    std::string_view location,
                                                    std::string_view keyword, bool has_comment) {
  const Ref<IStreamToken> open = Next();
  const Ref<IStreamToken> word = Next();
  if (!open->Is('(') || !word->IsWord(keyword)) ParseError(location, error_message);
  const Ref<IStreamToken> name = Next();
  if (!name->Is(dtAtom)) ParseError(location, SMissingName);
  THeader header{name->GetText().str(), {}, Next()};
  if (has_comment && header.token->Is(dtString)) {
    header.comment = header.token->GetText().str();
    header.token = Next();
  }
  return header;
}

// Printing.

std::string TKBClipsParser::PrettyPrint(const TFactSet& fact_set) {
  return reasoner::PrettyPrint(fact_set);
}
std::string TKBClipsParser::PrettyPrint(const IFuzzySet& fuzzy_set, bool full) {
  return FuzzySetText(fuzzy_set, full);
}
std::string TKBClipsParser::PrettyPrint(const IFuzzyVariable& fuzzy_variable) {
  return FuzzyVariableText(fuzzy_variable);
}
std::string TKBClipsParser::PrettyPrint(const IFact& fact) { return reasoner::PrettyPrint(fact); }
std::string TKBClipsParser::PrettyPrint(const IFact& fact, std::string_view slot_name) {
  return reasoner::PrettyPrint(fact, slot_name);
}
std::string TKBClipsParser::PrettyPrint(const IFact& fact, std::string_view slot_name,
                                        const IKBValue& value) {
  return reasoner::PrettyPrint(fact, slot_name, value);
}
std::string TKBClipsParser::PrettyPrint(const IFact& fact, std::string_view slot_name,
                                        std::string_view text) {
  return reasoner::PrettyPrint(fact, slot_name, text);
}
std::string TKBClipsParser::PrettyPrint(const IFactSlot& slot) {
  return reasoner::PrettyPrint(slot);
}
std::string TKBClipsParser::PrettyPrint(const IFactTemplate& fact_template) {
  return reasoner::PrettyPrint(fact_template);
}
std::string TKBClipsParser::PrettyPrint(const IFunCall& fun_call) {
  return reasoner::PrettyPrint(fun_call);
}
std::string TKBClipsParser::PrettyPrint(const TRule& rule) { return reasoner::PrettyPrint(rule); }
std::string TKBClipsParser::PrettyPrint(const TRule& rule, TRuleConstruct construct) {
  return reasoner::PrettyPrint(rule, construct);
}
std::string TKBClipsParser::PrettyPrint(const TKBPattern& pattern) {
  return reasoner::PrettyPrint(pattern);
}
std::string TKBClipsParser::PrettyPrint(std::string_view variable_name, const IKBValue& value) {
  return reasoner::PrettyPrint(variable_name, value);
}
std::string TKBClipsParser::PrettyPrint(const ISingletonsVector& singletons) {
  return reasoner::PrettyPrint(singletons);
}
std::string TKBClipsParser::PrettyPrint(const IUserFunction& function) {
  return reasoner::PrettyPrint(function);
}
std::string TKBClipsParser::PrettyPrint(const IInterpretedFunction& function) {
  return reasoner::PrettyPrint(function);
}
std::string TKBClipsParser::PrettyPrint(const IKBDefinedType& defined_type) {
  return reasoner::PrettyPrint(defined_type);
}
std::string TKBClipsParser::PrettyPrint(const TValueHashTable& variables) {
  return reasoner::PrettyPrint(variables);
}

}  // namespace reasoner
