// TKBClipsParser: the parser of the rule language, a hand-written recursive descent.
//
// It reads tokens and puts them back; it never looks at characters. The productions stand in the
// Parse*.cpp files by family: frame and errors, values and calls, templates and facts, facets of
// slots and types, rules, functions.

#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/language/Parser.h"
#include "reasoner/support/Depth.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

class TKBClipsParser : public TKBParser {
 public:
  // A stream of another class raises "Invalid class of stream for %s", here and in SetStream.
  explicit TKBClipsParser(IReasoner& engine, TKBClipsStream* stream = nullptr);

  std::string ClassName() const override { return "TKBClipsParser"; }
  void Assign(const TPersistent& source) override;
  TKBClipsStream* GetStream() const noexcept { return clips_stream_; }
  void SetStream(TKBTokenizerStream* stream) override;

  // Functions whose parenthesised arguments are no calls. With start 0 each is a fact; else those
  // at the positions from start to end, counted from 1, are slots with their values.
  void AddSlotFunction(std::string_view name, std::int32_t start, std::int32_t end);
  bool IsSlotFunction(std::string_view name) const { return FindSlotFunction(name) != nullptr; }
  // -1 for an unknown name.
  std::int32_t GetSlotFunctionStart(std::string_view name) const;
  std::int32_t GetSlotFunctionEnd(std::string_view name) const;
  // A bound that crosses the other one takes it along.
  void SetSlotFunctionStart(std::string_view name, std::int32_t start);
  void SetSlotFunctionEnd(std::string_view name, std::int32_t end);

  void Clear() override;
  std::string GenerateSymbol(std::string_view prefix) override;
  Ref<IKBValue> GenerateVariable(const TVariableTable* variables,
                                 const IFactTemplate& fact_template, bool unique,
                                 std::string_view slot_name) override;
  Ref<IKBValue> GenerateVariable(const TVariableTable* variables,
                                 const IFactTemplate& fact_template, bool unique,
                                 std::string_view slot_name, std::string_view prefix) override;
  // The prefix, the slot's name if there is a slot, and the index if it is above 0.
  virtual void GenerateVarName(std::int32_t index, const IFactTemplate& fact_template,
                               std::string& name, const IFactSlot* slot, std::string_view prefix);
  std::string GetSyntaxStatement(const IUserFunction& function) override;

  bool Parse(bool execute) override;
  bool Load() override;
  bool ParseExpression(bool execute) override;
  bool AtEnd() override;
  void ParseEnd() override;
  bool LoadFacts() override;
  // What the expression that the token begins is. Looks ahead, and leaves the stream at the
  // expression's start when that is a parenthesis.
  virtual TParsedType GetConstructType(const Ref<IStreamToken>& token);
  // Raises EKBParseException "Parsing Error, MESSAGE in LOCATION at line N: " with what was read of
  // the expression. An override has to raise as well.
  virtual void ParseError(std::string_view location, std::string_view message);
  template <TLiteral literal, class... TArgs>
  [[noreturn]] void ParseError(std::string_view location, TMessage<literal> message,
                               const TArgs&... args) {
    const std::string text = FillMessage(message, args...);
    ParseError(location, std::string_view(text));
    throw EKBParseException(text);
  }

  Ref<IKBDefinedType> ParseDefinedType() override;
  std::unique_ptr<TFactSet> ParseFactSet() override;
  Ref<IFact> ParseFact() override;
  void ParseFactSlot(IFact& fact, std::string& name) override;
  Ref<IFactTemplate> ParseFactTemplate() override;
  Ref<IFactSlot> ParseFactTemplateSlot() override;
  Ref<IUserFunction> ParseFunction() override;
  Ref<IFunCall> ParseFunCall() override;
  Ref<IKBValue> ParseVariable(std::string& name) override;
  bool ParseGlobalVariables() override;
  Ref<IValueVector> ParseList() override;
  Ref<IKBValue> ParseNExecuteFunCall() override;
  Ref<IFuzzySet> ParseFuzzySet(IFuzzyVariable& variable) override;
  Ref<IFuzzyVariable> ParseFuzzyVariable() override;
  std::unique_ptr<TKBPattern> ParsePattern(std::int32_t negated_count,
                                           TVariableTable& variables) override;
  std::unique_ptr<TRule> ParseRule() override;
  void ParseRuleActions(TRule& rule, TVariableTable& variables) override;
  void ParseRulePatterns(TRule& rule, TVariableTable& variables) override;
  Ref<ISingletonsVector> ParseSingletons() override;
  Ref<IValueVector> ParseValuePair() override;
  Ref<IKBValue> ParseValue() override;
  Ref<IKBValue> ParseValue(const IFactSlot& slot) override;
  Ref<IKBValue> ParseValue(TKBTypes types, const Ref<IKBDefinedType>& defined_type) override;

  std::string PrettyPrint(const TFactSet& fact_set) override;
  std::string PrettyPrint(const IFact& fact) override;
  std::string PrettyPrint(const IFact& fact, std::string_view slot_name) override;
  std::string PrettyPrint(const IFact& fact, std::string_view slot_name,
                          const IKBValue& value) override;
  std::string PrettyPrint(const IFact& fact, std::string_view slot_name,
                          std::string_view text) override;
  std::string PrettyPrint(const IFactSlot& slot) override;
  std::string PrettyPrint(const IFactTemplate& fact_template) override;
  std::string PrettyPrint(const IFunCall& fun_call) override;
  std::string PrettyPrint(const TRule& rule) override;
  std::string PrettyPrint(const TRule& rule, TRuleConstruct construct) override;
  std::string PrettyPrint(const TKBPattern& pattern) override;
  std::string PrettyPrint(std::string_view variable_name, const IKBValue& value) override;
  std::string PrettyPrint(const ISingletonsVector& singletons) override;
  std::string PrettyPrint(const IFuzzySet& fuzzy_set, bool full) override;
  std::string PrettyPrint(const IFuzzyVariable& fuzzy_variable) override;
  std::string PrettyPrint(const IUserFunction& function) override;
  std::string PrettyPrint(const IInterpretedFunction& function) override;
  std::string PrettyPrint(const IKBDefinedType& defined_type) override;
  std::string PrettyPrint(const TValueHashTable& variables) override;

 protected:
  struct THeader {
    std::string name;
    std::string comment;
    Ref<IStreamToken> token;  // the one behind the header
  };
  // "( KEYWORD NAME" and, with `has_comment`, a string that may be left out.
  virtual THeader ParseHeader(std::string_view error_message, std::string_view location,
                              std::string_view keyword, bool has_comment);
  // The words of a type clause, up to but without its `)`. A named type goes to `defined_type`; two
  // raise.
  virtual TKBTypes ParseSlotTypes(Ref<IKBDefinedType>& defined_type);

 private:
  struct TSlotFunction {
    std::string name;
    std::int32_t start;
    std::int32_t end;
  };

  // Holds a level of nesting; too many of them are a failure of parsing.
  class NestingGuard {
   public:
    NestingGuard(TKBClipsParser& parser, std::string_view location);

   private:
    DepthGuard guard_;
  };

  // Whether the words of facets are told apart by case.
  enum TWordCase : std::uint8_t { kExactWords, kAnyCaseWords };

  // A field of a pattern's slot while it is read.
  struct TField {
    TKBPattern& pattern;
    const IFactSlot& slot;
    TVariableTable& variables;
    std::int32_t sub_index;
    bool conjunction = true;
    bool joined_by_and = true;
  };

  TSlotFunction* FindSlotFunction(std::string_view name) const;
  TKBClipsStream& Stream() const;
  Ref<IStreamToken> Next() { return Stream().NextToken(); }
  void PutBack(const Ref<IStreamToken>& token) { Stream().PutBackToken(token); }
  // The next token, which must be the character.
  void Expect(char character, std::string_view location);
  void RequireClose(const IStreamToken& token, std::string_view location);
  bool NextIs(char character);  // looks only

  void ParseCollecting();
  template <class TStep>
  void LoadEach(TStep step);
  EKBParseException AtPlace(std::string message);
  void EnterRule(TObject*& object);
  void EnterFactSet(TObject*& object);

  Ref<IKBValue> ParseOpened(const Ref<IStreamToken>& open);
  Ref<IKBValue> ParseCallValue();
  Ref<IKBValue> ParseCallAfterEqualSign(std::string_view location);
  Ref<IKBValue> ParseListedValue(const Ref<IStreamToken>& token);
  Ref<IKBValue> ParseCoordinate();
  Ref<IKBValue> ParseSlotValue(TKBTypes types);
  Ref<IKBValue> ParseFuzzyValue(TKBTypes types, const IKBDefinedType* defined_type);
  Ref<IKBValue> ParseFuzzyField();
  void ParseFuzzyClauses(IFuzzyVariable& variable);
  void ParseFuzzyTerms(IFuzzyVariable& variable, std::vector<Ref<IFuzzySet>>& terms);
  void ParseArgument(IFunCall& fun_call, const Ref<IStreamToken>& token,
                     const TSlotFunction* slot_function);
  void CheckValue(Ref<IKBValue>& value, TKBTypes types, const IKBDefinedType* defined_type);
  Ref<IKBValue> ResolveToken(const IStreamToken& token);

  void ParseQualifier(IFactSlot& slot, TKBTypes& types, Ref<IKBDefinedType>& defined_type,
                      Ref<IKBValue>& slot_default);
  void FinishDefault(IFactSlot& slot, Ref<IKBValue> slot_default);
  void AddSlotType(const Ref<IStreamToken>& token, TKBTypes& types,
                   Ref<IKBDefinedType>& defined_type);
  IKBDefinedType& ImplicitType(IFactSlot& slot);
  void ParseFacet(IKBDefinedType& type, const Ref<IStreamToken>& open,
                  const Ref<IStreamToken>& word, TWordCase word_case, Ref<IStreamToken>& last);
  void ParseRangeAndCardinality(IKBDefinedType& type, bool is_cardinality, TWordCase word_case,
                                Ref<IStreamToken>& last);
  // The two bounds of a clause; null where none is wanted. `last` is its closing parenthesis.
  struct TBounds {
    Ref<IKBValue> min;
    Ref<IKBValue> max;
  };
  TBounds ParseBounds(std::string_view name, bool allow_variable, Ref<IStreamToken>& last);
  void RequireNotEmpty(const TBounds& bounds, std::string_view name);
  void SetUniverse(IFuzzyVariable& variable, const TBounds& bounds);
  Ref<IKBValue> ParseBound(const Ref<IStreamToken>& token, bool allow_variable);
  void ParseAllowedEnumerations(IKBDefinedType& type, TWordCase word_case, Ref<IStreamToken>& last);
  std::string ParseUnits();

  std::int32_t WholeNumber(const IKBValue& value);

  bool HasPlainMeaning() const noexcept { return engine_.GetLink()->textbook_semantics; }
  // Numbers as slots of these types hold them.
  void FitToTypes(Ref<IKBValue>& value, TKBTypes types) const;

  void ParseDeclare(TRule& rule, Ref<IStreamToken>& token);
  std::unique_ptr<TKBPattern> ParseTest(std::int32_t negated_count);
  std::unique_ptr<TKBPattern> ParsePlainPattern(std::string_view name, std::int32_t negated_count,
                                                TVariableTable& variables);
  void ParsePatternSlot(TKBPattern& pattern, TVariableTable& variables, Ref<IStreamToken>& token);
  void ParseField(TField& field, Ref<IStreamToken>& token);
  void ParseConstraint(TField& field, Ref<IStreamToken> token);
  void ParseFuzzyConstraint(TField& field, bool negated);
  void AddTest(const TField& field, const Ref<IKBValue>& value, bool negated);
  void AddWildcard(const TField& field, const Ref<IKBValue>& value, bool negated);
  void AddReturnValueTests(const TField& field, bool negated);
  // A generated name that the rule does not hold yet.
  Text NewVariableName(const TVariableTable& variables, std::string_view prefix);

  // The template of a fact or a pattern; an unknown one is implied.
  Ref<IFactTemplate> TemplateOf(std::string_view name);

  // Takes back the templates that a text has implied when the text is refused, if nothing else has
  // come to use them. Of guards that stand inside of each other each takes back its own part.
  class ImpliedGuard {
   public:
    explicit ImpliedGuard(TKBClipsParser& parser)
        : parser_(parser),
          count_before_(parser.implied_.size()),
          failures_before_(std::uncaught_exceptions()) {
      ++parser.implied_guards_;
    }
    ~ImpliedGuard();
    ImpliedGuard(const ImpliedGuard&) = delete;
    ImpliedGuard& operator=(const ImpliedGuard&) = delete;

   private:
    TKBClipsParser& parser_;
    std::size_t count_before_;
    int failures_before_;
  };

  TKBClipsStream* clips_stream_ = nullptr;   // stream_ under its own type
  std::vector<Ref<IFactTemplate>> implied_;  // by the texts that are being read, oldest first
  std::int32_t implied_guards_ = 0;
  mutable std::vector<TSlotFunction> slot_functions_;
  bool call_failed_ = false;  // the last failure came from a call that ran, and not from reading
};

}  // namespace reasoner
