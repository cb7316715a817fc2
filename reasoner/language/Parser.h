// TKBParser: what an engine asks of a parser, and the events that tell a host what was read.
//
// Each production of the language is one virtual operation, called with the stream at the first
// token of the production and leaving it behind the last one. Constructs go to the engine when they
// are complete; a construct that fails leaves nothing behind. One parser serves one engine; the
// engine swaps its stream for the length of each text that it reads, so that a function that runs
// while a file is being read may itself have text parsed.

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "reasoner/facts/FactSet.h"
#include "reasoner/functions/FunctionCall.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/match/Rule.h"
#include "reasoner/support/Event.h"
#include "reasoner/support/membership/FuzzyVariable.h"
#include "reasoner/values/SingletonsVector.h"
#include "reasoner/values/ValueHashTable.h"

namespace reasoner {

// The variables of one rule while it is read, each with the kind of its first occurrence.
class TVariableTable {
 public:
  // Enters a new name with the kind; gives the kind that counts.
  TKBType Enter(std::string_view name, TKBType kind);
  bool Contains(std::string_view name) const { return kinds_.find(name) != kinds_.end(); }
  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(kinds_.size()); }

 private:
  std::map<std::string, TKBType, std::less<>> kinds_;
};

class TKBParser;

// Called when the object is complete and, constructs, before the engine has taken it. A handler may
// change the object.
using TParseFactEvent = Event<void(TKBParser& sender, const Ref<IFact>& fact)>;
using TParseFactSetEvent = Event<void(TKBParser& sender, TFactSet& fact_set)>;
using TParseFactTemplateEvent =
    Event<void(TKBParser& sender, const Ref<IFactTemplate>& fact_template)>;
using TParseFunCallEvent = Event<void(TKBParser& sender, const Ref<IFunCall>& fun_call)>;
using TParseFunctionEvent = Event<void(TKBParser& sender, const Ref<IUserFunction>& function)>;
using TParseVariableEvent =
    Event<void(TKBParser& sender, const std::string& var_name, const Ref<IKBValue>& value)>;
using TParsePatternEvent = Event<void(TKBParser& sender, TKBPattern& pattern)>;
using TParseRuleEvent = Event<void(TKBParser& sender, TRule& rule)>;
using TParseDefinedTypeEvent =
    Event<void(TKBParser& sender, const Ref<IKBDefinedType>& defined_type)>;
using TParseSingletonsEvent =
    Event<void(TKBParser& sender, const Ref<ISingletonsVector>& singletons)>;
using TParseFuzzySetEvent = Event<void(TKBParser& sender, const Ref<IFuzzySet>& fuzzy_set)>;
using TParseFuzzyVariableEvent =
    Event<void(TKBParser& sender, const Ref<IFuzzyVariable>& fuzzy_variable)>;
// After a top-level expression has been dealt with. Constructs report ptNone; a rule or a fact set
// that the engine has kept comes as the object, anything else as the interface.
using TParseEvent =
    Event<void(TKBParser& sender, TParsedType parsed_type, TObject* object, IInterface* interface)>;

class TKBParser : public TPersistent {
 public:
  TKBParser(IReasoner& engine, TKBTokenizerStream* stream) : engine_(engine), stream_(stream) {}

  IReasoner& GetEngine() const noexcept { return engine_; }
  TKBTokenizerStream* GetTokenizer() const noexcept { return stream_; }
  virtual void SetStream(TKBTokenizerStream* stream) { stream_ = stream; }

  // Takes over the stream and the settings of another parser, not its events.
  void Assign(const TPersistent& source) override;

  // A fact that names an unknown template is a failure; else the template is implied.
  bool StrictFacts = false;
  // Mirrors of the engine's settings.
  bool StaticChecks = true;
  TErrorHandling ErrorHandling = ehRaiseImmediate;
  std::int32_t MaxErrors = 10;

  TParseEvent OnParse;
  TParseFactEvent OnParseFact;
  TParseFactSetEvent OnParseFactSet;
  TParseFactTemplateEvent OnParseFactTemplate;
  TParseFunCallEvent OnParseFunCall;
  TParseFunctionEvent OnParseFunction;
  TParseVariableEvent OnParseVariable;
  TParsePatternEvent OnParsePattern;
  TParseRuleEvent OnParseRule;
  TParseDefinedTypeEvent OnParseDefinedType;
  TParseFuzzySetEvent OnParseFuzzySet;
  TParseFuzzyVariableEvent OnParseFuzzyVariable;
  TParseSingletonsEvent OnParseSingletons;

  // Drops the tokens that wait in the stream.
  virtual void Clear() = 0;
  virtual std::string GenerateSymbol(std::string_view prefix) = 0;
  // A variable named after a slot, with the prefix (the template's name without one). With `unique`
  // the name is none of `variables`, which may be null.
  virtual Ref<IKBValue> GenerateVariable(const TVariableTable* variables,
                                         const IFactTemplate& fact_template, bool unique,
                                         std::string_view slot_name) = 0;
  virtual Ref<IKBValue> GenerateVariable(const TVariableTable* variables,
                                         const IFactTemplate& fact_template, bool unique,
                                         std::string_view slot_name, std::string_view prefix) = 0;
  virtual std::string GetSyntaxStatement(const IUserFunction& function) = 0;

  // Reads the stream to its end; true, or raises.
  virtual bool Parse(bool execute) = 0;
  // Reads the stream to its end and executes calls. What cannot be read is passed over, and raised
  // when all the rest has been read.
  virtual bool Load() { return Parse(true); }
  // Reads one top-level expression; false at the end of the stream. Without `execute` calls are
  // read only.
  virtual bool ParseExpression(bool execute) = 0;
  // Whether nothing is left to read, and a failure where something is.
  virtual bool AtEnd() = 0;
  virtual void ParseEnd() = 0;
  // Asserts the facts of a stream that holds nothing else. What cannot be read is passed over as in
  // Load.
  virtual bool LoadFacts() = 0;
  virtual Ref<IKBDefinedType> ParseDefinedType() = 0;
  // Neither owned nor known by the engine yet; a rule is owned but not known.
  virtual std::unique_ptr<TFactSet> ParseFactSet() = 0;
  virtual Ref<IFact> ParseFact() = 0;
  // Starts at the stream's current token; gives the slot's name.
  virtual void ParseFactSlot(IFact& fact, std::string& name) = 0;
  virtual Ref<IFactTemplate> ParseFactTemplate() = 0;
  virtual Ref<IFactSlot> ParseFactTemplateSlot() = 0;
  virtual Ref<IUserFunction> ParseFunction() = 0;
  virtual Ref<IFunCall> ParseFunCall() = 0;
  // A term, which may use those that the variable has; it is not added to it.
  virtual Ref<IFuzzySet> ParseFuzzySet(IFuzzyVariable& variable) = 0;
  // The clauses of a variable, up to but without the parenthesis behind them.
  virtual Ref<IFuzzyVariable> ParseFuzzyVariable() = 0;
  virtual Ref<IKBValue> ParseVariable(std::string& name) = 0;
  virtual bool ParseGlobalVariables() = 0;
  virtual Ref<IValueVector> ParseList() = 0;
  // The call's value in the engine's own context.
  virtual Ref<IKBValue> ParseNExecuteFunCall() = 0;
  virtual std::unique_ptr<TKBPattern> ParsePattern(std::int32_t negated_count,
                                                   TVariableTable& variables) = 0;
  virtual std::unique_ptr<TRule> ParseRule() = 0;
  virtual void ParseRuleActions(TRule& rule, TVariableTable& variables) = 0;
  virtual void ParseRulePatterns(TRule& rule, TVariableTable& variables) = 0;
  virtual Ref<ISingletonsVector> ParseSingletons() = 0;
  // A name and a value: the form of a slot in `modify`.
  virtual Ref<IValueVector> ParseValuePair() = 0;
  // One value, or a list where several stand; null where none stands.
  virtual Ref<IKBValue> ParseValue() = 0;
  virtual Ref<IKBValue> ParseValue(const IFactSlot& slot) = 0;
  virtual Ref<IKBValue> ParseValue(TKBTypes types, const Ref<IKBDefinedType>& defined_type) = 0;

  // The construct as text of the language.
  virtual std::string PrettyPrint(const TFactSet& fact_set) = 0;
  virtual std::string PrettyPrint(const IFact& fact) = 0;
  virtual std::string PrettyPrint(const IFact& fact, std::string_view slot_name) = 0;
  virtual std::string PrettyPrint(const IFact& fact, std::string_view slot_name,
                                  const IKBValue& value) = 0;
  virtual std::string PrettyPrint(const IFact& fact, std::string_view slot_name,
                                  std::string_view text) = 0;
  virtual std::string PrettyPrint(const IFactSlot& slot) = 0;
  virtual std::string PrettyPrint(const IFactTemplate& fact_template) = 0;
  virtual std::string PrettyPrint(const IFunCall& fun_call) = 0;
  virtual std::string PrettyPrint(const TRule& rule) = 0;
  virtual std::string PrettyPrint(const TRule& rule, TRuleConstruct construct) = 0;
  virtual std::string PrettyPrint(const TKBPattern& pattern) = 0;
  virtual std::string PrettyPrint(std::string_view variable_name, const IKBValue& value) = 0;
  virtual std::string PrettyPrint(const ISingletonsVector& singletons) = 0;
  // With `full` the definition as a term, else the name.
  virtual std::string PrettyPrint(const IFuzzySet& fuzzy_set, bool full) = 0;
  virtual std::string PrettyPrint(const IFuzzyVariable& fuzzy_variable) = 0;
  virtual std::string PrettyPrint(const IUserFunction& function) = 0;
  virtual std::string PrettyPrint(const IInterpretedFunction& function) = 0;
  virtual std::string PrettyPrint(const IKBDefinedType& defined_type) = 0;
  virtual std::string PrettyPrint(const TValueHashTable& variables) = 0;

 protected:
  IReasoner& engine_;  // owns the parser
  TKBTokenizerStream* stream_;
};

}  // namespace reasoner
