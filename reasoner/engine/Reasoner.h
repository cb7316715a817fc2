// TReasoner: the engine.
//
// One object owns everything: the registries of constructs, the fact base, the agenda, the network,
// the parser and the bottom frame of evaluation. A host gives it knowledge as rule-language text or
// through the classes, drives it with Reset and Run, and sees what happens through the events and
// the logical streams:
//
// clang-format off
//   TReasoner engine;
//   engine.OnPrintOut = [](TReasoner&, const std::string&, const std::string& text) {
//     std::fputs(text.c_str(), stdout);
//   };
//   engine.LoadFromFile("animals.clp");
//   engine.Reset();
//   engine.Run();
// clang-format on
//
// An engine belongs to one thread at a time. A host with threads calls Lock and Unlock around what
// it does while Run is at work on another thread: Run holds the lock for one firing at a time.
// Different engines share nothing.

#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/engine/Agenda.h"
#include "reasoner/engine/Facts.h"
#include "reasoner/engine/IOStreams.h"
#include "reasoner/engine/Registries.h"
#include "reasoner/functions/Context.h"
#include "reasoner/functions/FunctionCall.h"
#include "reasoner/language/Parser.h"
#include "reasoner/match/ReteNetwork.h"
#include "reasoner/support/Component.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Event.h"
#include "reasoner/support/Random.h"
#include "reasoner/support/membership/FuzzyVariable.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

// A place in a text of the language.
struct TTextPlace {
  std::string file;         // empty when the text is from no file
  std::int32_t line = 0;    // from 1; 0 when no text was being read
  std::int32_t column = 0;  // in characters from 1
};

// Where a failure came from, as far as the engine knows: for hosts that report it. The place is the
// one in the innermost file that was being read, or in the host's own text when there was no file.
struct TFailurePlace : TTextPlace {
  std::string rule;                     // the rule whose firing failed, or empty
  std::vector<TTextPlace> loaded_from;  // what was reading that file, the innermost first
};

// What is taken out and rebuilt from its text when a construct that it depends on is defined anew:
// a fact, or a rule.
struct TDependent {
  std::string text;
  Ref<IFact> fact;        // null for a rule
  std::string rule_name;  // of a rule, with what its text does not tell
  TRule* host_rule =
      nullptr;  // a host's own object, which takes the new definition; null otherwise
  Event<void(TRule& sender, TKBContext& context)> on_fire;
  Event<void(TRule& sender)> on_change;
  bool fired = false;
};

// What the factory makes.
enum TKBObjectType : std::uint8_t {
  otAgenda,
  otEngineVariables,
  otFacts,
  otFactSets,
  otFactTemplates,
  otGlobalVariables,
  otDefinedTypes,
  otIOStreams,
  otRules,
  otUserFunctions,
  otReteNetwork
};

// Makes a part of an engine: a descendant of the class that the engine would make itself, or null
// for that one.
using TKBObjectFactory =
    std::function<std::unique_ptr<TObject>(TReasoner& engine, TKBObjectType type)>;
// Makes a parser for an engine.
using TKBParserFactory = std::function<std::unique_ptr<TKBParser>(TReasoner& engine)>;

// Makes a tokenizer that reads a stream, which outlives it.
using TKBTokenizerFactory =
    std::function<std::unique_ptr<TKBTokenizerStream>(TStream& stream, const TEncoding* encoding)>;

using TPrintOutEvent =
    Event<void(TReasoner& sender, const std::string& out_id, const std::string& text)>;
using TReadLineEvent = Event<void(TReasoner& sender, const std::string& in_id, std::string& text)>;
using TReadTokenEvent =
    Event<void(TReasoner& sender, const std::string& in_id, Ref<IStreamToken>& token)>;
// `what` names the construct: "rule r", "fact (a 1)", "template t".
using TDroppedEvent =
    Event<void(TReasoner& sender, const std::string& what, const std::string& reason)>;
using TWarningEvent = Event<void(TReasoner& sender, const std::string& text)>;
using TReasonerEvent = Event<void(TReasoner& sender)>;
using TInferenceEvent = Event<void(TReasoner& sender, std::int32_t rules_fired)>;
using TAgendaEvent = Event<void(TReasoner& sender, std::int32_t index, TActivation& activation)>;
using TFactEvent = Event<void(TReasoner& sender, const Ref<IFact>& fact)>;
using TFactTemplateEvent = Event<void(TReasoner& sender, const Ref<IFactTemplate>& fact_template)>;
using TRuleEvent = Event<void(TReasoner& sender, TRule& rule)>;
using TUserFunctionEvent = Event<void(TReasoner& sender, const Ref<IUserFunction>& function)>;
// With `done` set the engine leaves out what it would do itself.
using TFuzzyCorrelationEvent =
    Event<void(TReasoner& sender, const Ref<IFact>& fact, float strength, bool& done)>;
using TFactCombineEvent =
    Event<void(TReasoner& sender, const Ref<IFact>& fact1, const Ref<IFact>& fact2, bool& done)>;
using TKBDefinedTypeEvent = Event<void(TReasoner& sender, const Ref<IKBDefinedType>& type)>;

class IDialogs;
class THostObjects;

class TReasoner : public TComponent,
                  public IReasoner,
                  public ISingletonsParser,
                  public IFuzzyParser {
 public:
  // A new engine holds the packages' functions, the two implied templates and the fact
  // (Initial-Fact) with id 0. A factory whose object is no descendant of the class told for its
  // type raises EKBException.
  explicit TReasoner(TComponent* owner = nullptr, TKBObjectFactory factory = nullptr);
  ~TReasoner() override;
  std::string ClassName() const override { return "TReasoner"; }

  // Knowledge as text.
  // Reads all expressions of a text. With `execute` top-level calls run, else they are parsed only.
  // Failures raise EKBParseException for the text, EKBException for what runs; what came before
  // stays.
  bool Parse(std::string_view text, bool execute);
  // The same for a part of something longer: failures count lines and columns from `start`.
  bool Parse(std::string_view text, bool execute, const TTextPlace& start);
  // A new cell of the type from text, as told for each type; point lists, objects and the like
  // raise.
  Ref<IKBValue> Parse(std::string_view text, TKBType type);
  Ref<IKBDefinedType> ParseDefinedType(std::string_view text);
  Ref<IFact> ParseFact(std::string_view text);
  std::string ParseFactSlot(IFact& fact, std::string_view text);  // the slot's name
  std::unique_ptr<TFactSet> ParseFactSet(std::string_view text);
  Ref<IFactTemplate> ParseFactTemplate(std::string_view text);
  Ref<IFactSlot> ParseFactTemplateSlot(std::string_view text);
  Ref<IUserFunction> ParseFunction(std::string_view text);
  Ref<IFunCall> ParseFunCall(std::string_view text);
  bool ParseGlobalVariables(std::string_view text);
  Ref<IKBValue> ParseVariable(std::string_view text, std::string& name);
  Ref<IValueVector> ParseList(std::string_view text);
  Ref<IKBValue> ParseNExecuteFunCall(std::string_view text);  // of several calls, the last value
  // The caller's: GetRules().Add(*rule) registers it, GetRules().Add(std::move(rule)) gives it
  // away.
  std::unique_ptr<TRule> ParseRule(std::string_view text);
  // Appends what the text holds to the rule. The table has the variables of the rule's patterns.
  void ParseRulePatterns(TRule& rule, TVariableTable& variables, std::string_view text);
  void ParseRuleActions(TRule& rule, TVariableTable& variables, std::string_view text);
  Ref<ISingletonsVector> ParseSingletons(std::string_view text);
  Ref<IKBValue> ParseValue(std::string_view text);  // null where the text holds no value
  Ref<IKBValue> ParseValue(std::string_view text, const IFactSlot& slot);
  Ref<IKBValue> ParseValue(std::string_view text, TKBTypes types, const Ref<IKBDefinedType>& type);

  Ref<IFuzzySet> ParseFuzzySet(IFuzzyVariable* variable, std::string_view text) override;
  void Warn(const std::string& text) override { OnWarning(*this, text); }
  Ref<IFuzzyVariable> ParseFuzzyVariable(std::string_view text) override;
  // A fuzzy expression, evaluated in the engine's own context.
  Ref<IFuzzySet> ParseFuzzyExpression(IFuzzyVariable* variable, std::string_view text);

  // Definitions meet those already there under DuplicateConstructs; nothing is cleared or reset. A
  // file that cannot be read raises EKitException.
  void LoadFromStream(TStream& stream, const TEncoding* encoding = nullptr);
  void LoadFromFile(const std::string& file_name, const TEncoding* encoding = nullptr);
  // Reads a sequence of facts and asserts each, evaluated.
  void LoadFacts(TStream& stream, const TEncoding* encoding = nullptr);
  void LoadFacts(const std::string& file_name, const TEncoding* encoding = nullptr);

  // The knowledge base as a document: comment lines, the setting of fact duplication, then
  // definitions before their users, and the facts. Loading it brings everything back.
  virtual std::string GetExpertSystem();
  // Clears the engine, reads a document and resets: definitions and fact sets stay.
  virtual void SetExpertSystem(std::string_view text);
  // A file is written whole or not at all; one that cannot be written raises EKitException.
  virtual void SaveToStream(TStream& stream, const TEncoding* encoding = nullptr);
  void SaveToFile(const std::string& file_name, const TEncoding* encoding = nullptr);
  // The constructs of one kind, or the facts of all templates or of one. What LoadRules,
  // LoadFactTemplates and LoadDefinedTypes read takes the place of all constructs of the kind and
  // of what depends on them.
  virtual void SaveRules(TStream& stream, const TEncoding* encoding = nullptr);
  virtual void SaveFactTemplates(TStream& stream, const TEncoding* encoding = nullptr);
  virtual void SaveDefinedTypes(TStream& stream, const TEncoding* encoding = nullptr);
  virtual void SaveFacts(TStream& stream, const TEncoding* encoding = nullptr);
  virtual void SaveFacts(TStream& stream, std::string_view template_name,
                         const TEncoding* encoding = nullptr);
  virtual void LoadRules(TStream& stream, const TEncoding* encoding = nullptr);
  virtual void LoadFactTemplates(TStream& stream, const TEncoding* encoding = nullptr);
  virtual void LoadDefinedTypes(TStream& stream, const TEncoding* encoding = nullptr);
  void SaveRules(const std::string& file_name, const TEncoding* encoding = nullptr);
  void SaveFactTemplates(const std::string& file_name, const TEncoding* encoding = nullptr);
  void SaveDefinedTypes(const std::string& file_name, const TEncoding* encoding = nullptr);
  void SaveFacts(const std::string& file_name, const TEncoding* encoding = nullptr);
  void SaveFacts(const std::string& file_name, std::string_view template_name,
                 const TEncoding* encoding = nullptr);
  void LoadRules(const std::string& file_name, const TEncoding* encoding = nullptr);
  void LoadFactTemplates(const std::string& file_name, const TEncoding* encoding = nullptr);
  void LoadDefinedTypes(const std::string& file_name, const TEncoding* encoding = nullptr);

  // Takes over settings, constructs and facts of another engine; its objects are not shared, but
  // for host and built-in functions. A failure leaves what was taken over so far, and no type
  // checks.
  void Assign(const TPersistent& source) override;

  // Facts.
  // The id of the new fact, or -1 for a refused duplicate. A fact with fuzzy slots is weakened by
  // the strength of the rule that asserts it, and takes the place of the fact that is equal but for
  // its fuzzy values: those are united, or with `unconditional` intersected. The match is done when
  // the call returns; inside the network the fact waits for its turn. A fact of another engine
  // comes over as a copy, with its template where there is none of that name.
  TFactId Assert(const Ref<IFact>& fact, bool unconditional = false);
  // The same with another inference method.
  TFactId Assert(const Ref<IFact>& fact, TFuzzyInferenceMethod method, bool unconditional = false);
  // One fact or several, all read before the first is asserted; the last one's id.
  TFactId Assert(std::string_view text);
  // Nothing happens for an unknown id or fact.
  void Retract(TFactId id);
  void Retract(const Ref<IFact>& fact);  // by content
  void Retract(std::string_view text);   // one fact or several
  void RetractFact(std::int32_t index);  // nothing happens for -1, the index of what is not found
  void RetractFact(const Ref<IFact>& fact);  // by identity
  // Empties the network; the list is not touched.
  virtual void RetractFacts();
  // Takes the fact out for a change and asserts it again: the id, or -1.
  virtual void BeginFactModify(const Ref<IFact>& fact);
  virtual TFactId EndFactModify(const Ref<IFact>& fact);
  void AddPendingFact(const Ref<IFact>& fact, bool assertion) override;
  void ProcessPendingFacts();
  const std::deque<Ref<IFact>>& GetFactPendingAssertions() const noexcept {
    return pending_assertions_;
  }
  const std::deque<Ref<IFact>>& GetFactPendingRetractions() const noexcept {
    return pending_retractions_;
  }
  TFactId NewFactId();  // raises at the end of the range
  void RequireFactId() const;
  // The companion of a template that is marked for backward chaining: its goals' template, not
  // entered yet.
  Ref<IFactTemplate> NewGoalTemplate(const Ref<IFactTemplate>& wanted);

  // Fuzzy values.
  // A value, an expression or a text as a fuzzy value of a variable, which may be null where no
  // term is named. Without a context what needs one comes back as a list that waits for it.
  Ref<IKBValue> EvalFuzzyExpression(IFuzzyVariable* variable, const Ref<IKBValue>& value,
                                    TKBContext* context) override;
  Ref<IKBValue> EvalFuzzyExpression(IFuzzyVariable* variable, const Ref<IValueVector>& list,
                                    TKBContext* context);
  Ref<IKBValue> EvalFuzzyExpression(IFuzzyVariable* variable, std::string_view text,
                                    TKBContext* context);
  double EvalFuzzyExpression(IFuzzyVariable* variable, std::string_view text,
                             Ref<IFuzzySet>& set) override;
  Ref<IFuzzySet> EvalFuzzyExpression(IFuzzyVariable* variable, std::string_view text) override;
  // Lowers the fuzzy values of a fact by the strength of a rule, unless that is 1.
  virtual void FuzzyCorrelation(const Ref<IFact>& fact, float strength);
  // The event, then the union of the second fact into the first.
  virtual void FuzzyInference(const Ref<IFact>& fact1, const Ref<IFact>& fact2);
  // Combines each fuzzy slot of the first fact with the second's, in the first.
  virtual void FuzzyOperation(const Ref<IFact>& fact1, const Ref<IFact>& fact2, bool is_union);
  // The first value becomes a new one; neither is changed. Values of two types, and lists of two
  // lengths, leave it as it is.
  virtual void FuzzyIntersection(Ref<IKBValue>& value1, const Ref<IKBValue>& value2,
                                 TFuzzyOperation operation);
  virtual void FuzzyUnion(Ref<IKBValue>& value1, const Ref<IKBValue>& value2,
                          TFuzzyOperation operation);

  // Running.
  // Fires until the agenda is empty, `max_rules` have fired, or the engine is halted. Gives how
  // many fired. Inside a firing, or while a token is in the network, it answers 0 and does nothing.
  std::int32_t Run(std::int32_t max_rules = 2147483647);
  // Empties the running state, asserts the initial fact as fact 0, rebinds globals, asserts the
  // fact sets.
  virtual void Reset();
  // Empties the knowledge base and keeps the settings.
  virtual void Clear();
  bool IsHalted() const noexcept { return halted_; }
  void SetHalted(bool halted) noexcept { halted_ = halted; }
  std::int32_t GetRulesFired() const noexcept { return rules_fired_; }
  TActivation* GetCurrentActivation() const noexcept { return current_activation_; }
  // Asks what runs to end with EKBInterrupted; may be called from any thread and from a signal
  // handler. A run ends between two firings, so that the next one goes on where it stopped; a match
  // is finished, too. A second request ends what runs at once, inside a firing or a match: the
  // message says so, and a rule whose test was cut does not see the fact that was being matched.
  // One that finds nothing running is forgotten.
  void RequestInterrupt() noexcept {
    GetLink()->interrupt_requests.fetch_add(1, std::memory_order_relaxed);
  }
  // Held by Run around each firing; re-entrant.
  void Lock() { lock_.lock(); }
  void Unlock() { lock_.unlock(); }

  // Agenda.
  bool AddActivation(TActivation& activation) override;  // takes ownership
  std::unique_ptr<TActivation> RemoveActivation(TActivation& activation) override;
  virtual std::unique_ptr<TActivation> RemoveActivation(std::int32_t index);
  // Where an activation of this salience goes; -1 for the end.
  virtual std::int32_t SearchSalience(std::int32_t salience) const;
  std::int32_t GetAgendaCount() const noexcept { return agenda_->GetCount(); }
  TActivation& GetActivation(std::int32_t index) const { return agenda_->GetActivation(index); }
  // Puts an activation in the place of another one, which ends, without events.
  virtual void SetActivation(std::int32_t index, std::unique_ptr<TActivation> activation);
  // Clears the agenda and places a clone of each entry of another one, in order. What has no rule
  // of this engine any more, or whose facts are gone, is passed over.
  void SetAgenda(const TActivationAgenda& source);
  std::unique_ptr<TActivation> RuleFired(TActivation& activation) override;

  // The parts.
  TFacts& GetFacts() noexcept { return *facts_; }
  TKBAgenda& GetAgenda() noexcept { return *agenda_; }
  TFactTemplates& GetFactTemplates() noexcept { return *fact_templates_; }
  TKBDefinedTypes& GetDefinedTypes() noexcept { return *defined_types_; }
  TUserFunctions& GetUserFunctions() noexcept { return *user_functions_; }
  TRules& GetRules() noexcept { return *rules_; }
  TFactSets& GetFactSets() noexcept { return *fact_sets_; }
  TGlobalVariables& GetGlobalVariables() noexcept { return *global_variables_; }
  TEngineVariables& GetEngineVariables() noexcept { return *engine_variables_; }
  TIOStreams& GetIOStreams() noexcept { return *io_streams_; }
  TReteNetwork& GetReteNetwork() noexcept { return *network_; }
  TKBParser& GetParser() noexcept { return *parser_; }
  TKBContext& GetContext() noexcept override { return *context_; }
  // The numbers that `random` gives. A new engine starts with seed 0.
  TRandom& GetRandom() noexcept { return random_; }

  // Settings.
  TDuplicateConstructs DuplicateConstructs = dcOverwrite;
  bool ResetGlobals = true;
  TConstructWatches Watch;
  TSalience SalienceEvaluation = sActivate;
  TSearchStrategy GetStrategy() const noexcept { return strategy_; }
  virtual void SetStrategy(TSearchStrategy value);  // reorders the agenda
  bool GetFactDuplication() const noexcept { return fact_duplication_; }
  void SetFactDuplication(bool value);  // True allows equal facts
  // The meaning that a plain reading of rules and functions gives (True, the default), or the
  // literal one. docs/semantics.md shows the differences. All rules are compiled anew in the order
  // of their ids, with new activations; raises while the network is busy.
  bool GetTextbookSemantics() const noexcept { return GetLink()->textbook_semantics; }
  void SetTextbookSemantics(bool value);
  TFunctionPackages GetPackages() const noexcept { return packages_; }
  // Frees every package that the engine owns, a host's too, and makes those of the new set.
  void SetPackages(TFunctionPackages value);
  TTypeChecks GetTypeChecks() const noexcept override { return type_checks_; }
  void SetTypeChecks(TTypeChecks value);
  // Whether types, ranges and cardinalities hold for computed values and for values from C++, too.
  // False at the start: they hold for what is written in the text alone.
  bool GetDynamicChecks() const noexcept { return type_checks_.Has(tcDynamic); }
  void SetDynamicChecks(bool value);
  TErrorHandling GetParserErrorHandling() const noexcept { return parser_error_handling_; }
  void SetParserErrorHandling(TErrorHandling value);
  std::int32_t GetParserMaxErrors() const noexcept { return parser_max_errors_; }
  void SetParserMaxErrors(std::int32_t value);
  std::int32_t GetSymbolIndex() const noexcept { return symbol_index_; }
  void SetSymbolIndex(
      std::int32_t value);  // a value that is not above the present one adds 1 to that
  float GetMinActivationStrength() const noexcept { return min_activation_strength_; }
  void SetMinActivationStrength(float value);  // clamped to 0..1
  // New fuzzy types get the terms low, medium and high.
  bool FuzzyAutoTerms = true;
  // How an assertion is combined with the equal fact that is there, and how a rule's strength
  // weakens what it asserts.
  TFuzzyInferenceMethod FuzzyInferenceMethod = fimMinMax;
  TFuzzyCorrelationMethod FuzzyCorrelationMethod = fcmMinimum;
  // Two fuzzy values are equal where they overlap by more. Clamped to 0..1; every fuzzy variable
  // has a copy.
  float GetFuzzyEqualsThreshold() const noexcept override { return fuzzy_equals_threshold_; }
  void SetFuzzyEqualsThreshold(float value);
  float GetVersion() const noexcept { return version_; }
  // How deep text, calls, printing and values may nest in this engine, the stack permitting.
  std::int32_t GetMaxDepth() const noexcept { return depth_.limit; }
  void SetMaxDepth(std::int32_t value) noexcept { depth_.limit = value < 1 ? 1 : value; }
  // Replaces the parser; one that is at work lives until its parse ends. The new one starts without
  // events.
  void SetParserType(TKBParserFactory factory);
  // What reads text from now on; no factory is TKBClipsStream. The parser accepts its own class of
  // tokenizers only.
  void SetTokenizerType(TKBTokenizerFactory factory);
  virtual std::unique_ptr<TKBTokenizerStream> NewTokenizer(TStream& stream,
                                                           const TEncoding* encoding);
  // The same on a file, which it owns. Raises EKitException when the file cannot be opened.
  virtual std::unique_ptr<TKBTokenizerStream> NewTokenizer(const std::string& file_name,
                                                           TFileMode mode);

  // Logical streams.
  void PrintOut(const std::string& text) { PrintOut("", text); }
  // Terminal output goes to the stream from now on, and not to OnPrintOut. The engine owns the
  // stream and closes the one that it captured to before. A file is made or emptied; False when
  // that fails.
  virtual bool StartCapture(std::unique_ptr<TStream> stream, const TEncoding* encoding = nullptr);
  bool StartCapture(const std::string& file_name, const TEncoding* encoding = nullptr);
  // Raises when the rest of the text cannot be written; the capture has ended then, too.
  virtual bool StopCapture();
  bool IsCapturing() const noexcept { return capture_ != nullptr; }
  // Terminal input comes from the stream meanwhile: each line is parsed and executed, and what it
  // reads are the lines behind it. Batches nest. Always True; failures go through.
  virtual bool Batch(TStream& stream, const TEncoding* encoding = nullptr);
  bool Batch(const std::string& file_name, const TEncoding* encoding = nullptr);
  bool IsInBatch() const noexcept { return batch_ != nullptr; }
  // "t" and the empty name are the terminal: OnPrintOut. Other names are streams; the text for an
  // unknown one goes to OnUnknownStream or is lost, or raises when there is no OnPrintOut either.
  void PrintOut(const std::string& out_id, const std::string& text) override;
  // From a stream, from the batch that runs, or from OnReadLine and OnReadToken. At the end of a
  // stream an empty line, and a token of kind dtNone.
  virtual std::string ReadLine(const std::string& in_id);
  // Whether the last ReadLine found no line any more. A handler of OnReadLine that is at the end
  // says so by SetInputEnded; else an empty text is an empty line.
  bool HasInputEnded() const noexcept { return input_ended_; }
  void SetInputEnded() noexcept { input_ended_ = true; }
  virtual Ref<IStreamToken> ReadToken(const std::string& in_id);
  // Writes out what waits in streams and in the capture. It happens of itself at the end of every
  // load and run, and before a file is opened.
  void FlushStreams();

  // Dialogs.
  // Borrowed until another one, or null, takes its place; with null they are held over the
  // terminal.
  void SetDialogs(IDialogs* dialogs) noexcept { dialogs_ = dialogs; }
  IDialogs& GetDialogs();

  // The host's classes and objects that rules can reach (reasoner/engine/HostObjects.h).
  THostObjects& GetObjects();

  // The place of the last failure that left a parse, a load or a run; empty fields where there was
  // none since the host's last call that parses, loads, runs, asserts, resets or clears has begun.
  const TFailurePlace& GetFailurePlace() const noexcept { return failure_place_; }
  void ClearFailurePlace() { failure_place_ = TFailurePlace(); }

  // Small services.
  TFactId GetNextFactId() const noexcept override { return next_fact_id_; }
  std::int32_t NewRuleId() override { return next_rule_id_++; }
  std::string GenerateSymbol(std::string_view prefix) override;
  void KeepSymbol(std::string_view name) override;
  Ref<IFactTemplate> FindFactTemplate(std::string_view name) override;
  Ref<IFactTemplate> CreateFactTemplate(std::string_view name) override;
  bool ForgetTemplate(const Ref<IFactTemplate>& fact_template) override;
  Ref<IKBDefinedType> FindDefinedType(std::string_view name) override;
  bool AddUserFunction(const Ref<IUserFunction>& function) override;
  void RemoveUserFunction(IUserFunction& function) override;
  bool ContainsUserFunction(std::string_view name) override;
  bool ContainsUserFunction(std::string_view name, Ref<IUserFunction>& function) override;
  Ref<IUserFunction> GetUserFunction(std::string_view name) override;
  void SetUserFunction(std::string_view name, const Ref<IUserFunction>& function) override;
  // Binds a global to its value; a call is evaluated anew.
  void ResetGlobalVariable(std::string_view name, const Ref<IKBValue>& value);
  Ref<IKBValue> ResolveInContext(const Ref<IKBValue>& value) override;

  // Printing as rule-language text.
  std::string PrettyPrint(const TFactSet& fact_set) override;
  std::string PrettyPrint(const IFact& fact) override;
  std::string PrettyPrint(const IFunCall& fun_call) override;
  std::string PrettyPrint(const IUserFunction& function) override;
  std::string PrettyPrint(const IInterpretedFunction& function) override;
  std::string PrettyPrint(const IKBDefinedType& type) override;
  std::string PrettyPrint(const IFactSlot& slot) override;
  std::string PrettyPrint(const IFactTemplate& fact_template) override;
  std::string PrettyPrint(const TRule& rule) override;
  std::string PrettyPrint(const TKBPattern& pattern) override;
  std::string PrettyPrint(const ISingletonsVector& singletons) override;
  std::string PrettyPrint(const IFuzzySet& set, bool full) override;
  std::string PrettyPrint(const IFuzzyVariable& variable) override;
  std::string PrettyPrint(const IFact& fact, std::string_view slot_name);
  std::string PrettyPrint(const IFact& fact, std::string_view slot_name, const IKBValue& value);
  std::string PrettyPrint(const IFact& fact, std::string_view slot_name, std::string_view text);
  std::string PrettyPrint(const TRule& rule, TRuleConstruct construct);
  std::string PrettyPrint(std::string_view variable_name, const IKBValue& value);
  std::string PrettyPrint(const TValueHashTable& variables);
  std::string PrettyPrintGlobalVariables();

  // Dependencies.
  // Removes what depends on a template, on a type, on anything.
  virtual void RemoveDependencies(const IFactTemplate& fact_template);
  virtual void RemoveDependencies(const IKBDefinedType& type);
  virtual void RemoveDependencies();
  // Rebuilds from its text what depends on the old construct.
  virtual void ReplaceTemplate(const Ref<IFactTemplate>& old,
                               const Ref<IFactTemplate>& fact_template);
  virtual void ReplaceDefinedType(const Ref<IKBDefinedType>& old, const Ref<IKBDefinedType>& type);
  // Reads each dependent again. What no longer fits is dropped, which the watch of compilations
  // reports.
  virtual void UpdateDependencies(const std::vector<TDependent>& dependents);
  // Asserts the fact that has been read in the place of an old one.
  virtual void UpdateDependentFact(const Ref<IFact>& old, const Ref<IFact>& fact);
  bool IsDependent(const TRule& rule, const IFactTemplate& fact_template) const;
  bool IsDependent(const IFunCall& fun_call, const IFactTemplate& fact_template) const;
  bool IsDependent(const IKBValue& value, const IFactTemplate& fact_template) const;
  void RenameRule(std::string_view old_name, std::string_view new_name) override;
  void ChangeFactTemplateName(std::string_view old_name, std::string_view new_name) override;
  void RenameType(const IKBDefinedType& type, std::string_view new_name) override;
  void RuleChange(TRule& rule) override;
  // OnRemoveRule, out of the network; the engine's own rule is freed.
  virtual void RemoveRule(TRule& rule);

  // Notifications of the registries: each raises its event and does nothing else.
  virtual void AddDefinedType(const Ref<IKBDefinedType>& type);
  virtual void RemoveDefinedType(const Ref<IKBDefinedType>& type);
  virtual void ClearDefinedTypes();
  virtual void AddFactTemplate(const Ref<IFactTemplate>& fact_template);
  virtual void RemoveFactTemplate(const Ref<IFactTemplate>& fact_template);
  virtual void ClearFactTemplates();
  virtual void AddRule(TRule& rule);
  virtual void ClearRules();
  virtual void AddFunction(const Ref<IUserFunction>& function);
  virtual void RemoveFunction(const Ref<IUserFunction>& function);

  void Notification(TComponent& component, TOperation operation) override;

  // Events.
  TReasonerEvent OnAddDefaultPackages;  // when the packages have been made
  TAgendaEvent OnAddActivation;         // after the activation has entered the agenda
  TAgendaEvent OnRemoveActivation;      // before it leaves
  TKBDefinedTypeEvent OnAddDefinedType, OnRemoveDefinedType;
  TFactTemplateEvent OnNewFactTemplate, OnRemoveFactTemplate;
  TRuleEvent OnAddRule, OnRemoveRule;
  TRuleEvent OnRuleFired;  // before the fired activation leaves the agenda
  TUserFunctionEvent OnAddUserFunction, OnRemoveUserFunction;
  TFactEvent OnAssertion;                     // after the network has taken the fact
  TFactEvent OnRetraction;                    // before the network sees the fact go
  TFuzzyCorrelationEvent OnFuzzyCorrelation;  // before a fact is weakened
  TFactCombineEvent OnFuzzyInference;         // before FuzzyInference combines
  TReasonerEvent OnClear, OnClearDefinedTypes, OnClearFactTemplates, OnClearRules, OnClearFacts;
  TReasonerEvent OnReset;
  // For everything that a redefinition or the end of a type or a template costs the knowledge base.
  TDroppedEvent OnDropped;
  TReasonerEvent OnStartInference;
  TInferenceEvent OnEndInference;
  TPrintOutEvent OnPrintOut;
  TPrintOutEvent OnUnknownStream;  // for text to a name that no stream has
  // For what is taken, though hardly as it was meant: a reading outside of its range, a term that
  // no value of the range belongs to, shape arguments that are not in order.
  TWarningEvent OnWarning;
  TReadLineEvent OnReadLine;
  TReadTokenEvent OnReadToken;

 protected:
  virtual void BeginInference();
  virtual void EndInference();
  virtual void AddDefaultPackages();

 private:
  friend class TFacts;
  friend class TFactSets;
  friend class TFactTemplates;
  friend class TKBAgenda;
  friend class TKBDefinedTypes;
  friend class TRules;
  friend class TUserFunctions;
  friend class TEngineVariables;
  friend class TGlobalVariables;

  // What waits for the network: a fact that came or goes, a rule that is to be compiled, or the
  // nodes of one that is gone.
  struct TNetworkWork {
    enum Kind : std::uint8_t { kAssertion, kRetraction, kCompilation, kRelease } kind;
    Ref<IFact> fact;
    TRule* rule = nullptr;  // taken off the queue when it goes
    std::vector<TReteNode*> nodes;
  };
  class ScopedNetwork;
  // What a host asks for, or what a function asks for on its behalf: bounds the depth, and forgets
  // the requests for an interruption when the outermost one begins and ends.
  class ScopedOperation {
   public:
    explicit ScopedOperation(TReasoner& engine) : depth_(engine.depth_), engine_(engine) {
      if (engine_.operations_++ == 0) ForgetInterrupts();
    }
    ~ScopedOperation() {
      if (--engine_.operations_ == 0) ForgetInterrupts();
    }
    ScopedOperation(const ScopedOperation&) = delete;
    ScopedOperation& operator=(const ScopedOperation&) = delete;

   private:
    void ForgetInterrupts() noexcept {
      engine_.GetLink()->interrupt_requests.store(0, std::memory_order_relaxed);
    }

    const ScopedDepthCount depth_;
    TReasoner& engine_;
  };
  // Something is being reported to the host, or entered in its hearing: what it ends meanwhile is
  // freed when that is over.
  class ScopedReport {
   public:
    explicit ScopedReport(TReasoner& engine) : engine_(engine) { ++engine_.reporting_; }
    ~ScopedReport() {
      --engine_.reporting_;
      engine_.FreeDoomed();
    }
    ScopedReport(const ScopedReport&) = delete;
    ScopedReport& operator=(const ScopedReport&) = delete;

   private:
    TReasoner& engine_;
  };
  class ScopedTokenizer;

  // IReasoner, for the floors below.
  TComponent& AsComponent() noexcept override { return *this; }
  const Ref<IUserFunction>& GetLogicFunction(TLogicFunction function) override;
  const Ref<TFuzzyParserLink>& GetFuzzyParserLink() const noexcept override {
    return fuzzy_parser_link_;
  }
  void EnterTemplate(const Ref<IFactTemplate>& fact_template) override;
  void EnterType(const Ref<IKBDefinedType>& type) override;
  void EnterFunction(const Ref<IUserFunction>& function) override;
  void SetGlobalVariable(std::string_view name, const Ref<IKBValue>& value) override;
  std::vector<std::pair<std::string, Ref<IKBValue>>> GetGlobalValues() const override;
  bool HasGlobalVariable(std::string_view name) const override;
  TFactId AssertFact(const Ref<IFact>& fact) override { return Assert(fact); }
  bool EnterFactSet(TFactSet& fact_set) override;
  void CheckFactSetName(const TFactSet& fact_set, std::string_view name) override;
  void LeaveFactSet(TFactSet& fact_set) override;
  TFactId AssertResolved(const Ref<IFact>& fact) override;
  Ref<IFact> ParseFactText(std::string_view text) override { return ParseFact(text); }
  std::unique_ptr<TRule> ParseRuleText(std::string_view text) override { return ParseRule(text); }
  std::string PrintFactLine(const IFact& fact) override;
  Ref<IKBValue> ParseSlotValueText(std::string_view text, const IFactSlot& slot) override;
  Ref<IFactSlot> ParseSlotText(std::string_view text) override {
    return ParseFactTemplateSlot(text);
  }
  bool HoldsRule(const TRule& rule) const override;
  void EnterRule(TRule& rule) override;
  void LeaveRule(TRule& rule) override;
  const TKBPattern& GetInitialPattern() override { return *initial_pattern_; }
  const Ref<IFact>& GetNotOrTestFact() const noexcept override { return not_or_test_fact_; }
  std::vector<Ref<IFact>> SnapshotFacts() override;

  template <class TPart>
  std::unique_ptr<TPart> MakePart(const TKBObjectFactory& factory, TKBObjectType type);
  void MakeParts(const TKBObjectFactory& factory);
  void MakeImplied();
  void MakeLogicFunctions();
  bool Watches(TConstructWatch watch) const { return Watch.Has(watch) && OnPrintOut.IsHeard(); }
  Ref<IFact> OwnFact(const Ref<IFact>& fact);
  TFactId EnterFact(const Ref<IFact>& fact, std::uint32_t hash);
  TFactId AssertFuzzy(const Ref<IFact>& asserted, bool unconditional);
  void PostWork(TNetworkWork work);
  void DrainWork();
  void DoWork(const TNetworkWork& work);
  void RetractEntry(TFacts::Entry& entry);
  void RetractListed(TFacts::Entry& entry);
  void RequireIdleNetwork(const char* doing) const override;
  void ClearNetwork() override;
  void NetworkFailed(std::exception_ptr failure) override;
  void RuleMarkedFired(TRule& rule) override;
  std::int32_t NextToFire(std::int32_t max_rules) const;
  void RunStep(std::int32_t index);
  void PollInterrupt() override;
  std::int32_t RunRules(std::int32_t max_rules);
  void RebuildAgenda();
  void RequireOwn(const TActivation& activation);
  bool PlaceActivation(std::unique_ptr<TActivation> activation);
  void ForgetPlacing(const TActivation& activation);
  void CompileRule(TRule& rule);
  void UncompileRule(TRule& rule);
  void ReportRule(const TRuleEvent& event, TRule& rule);
  // Runs a step during which the network is busy. What handlers of activations raise meanwhile
  // waits: the match is finished first.
  template <class TStep>
  void InNetwork(TStep step);
  void FeedRule(TRule& rule);
  void ReplaceRule(TRule& old, TRule& rule);
  void ClaimName(TRule& rule);
  bool IsCompiled(const TRule& rule) const;
  bool IsIdle() const noexcept {
    return in_network_ == 0 && reporting_ == 0 && current_activation_ == nullptr;
  }
  void DropRule(TRule& rule);  // frees the engine's own, or takes a host's out of the network
  void FreeRule(TRule& rule);
  void FreeDoomed() noexcept;
  void ClearTemplates();
  void ClearTypes();
  void DropPending(const IFactTemplate& fact_template);
  void TakeOutFacts(const Ref<IFactTemplate>& fact_template, std::vector<TDependent>& dependents,
                    FirstFailure& failures);
  void TakeOutRules(const IFactTemplate& fact_template, std::vector<TDependent>& dependents,
                    FirstFailure& failures);
  void ReadDependent(const TDependent& dependent, FirstFailure& failures);
  void ReportDropped(const std::string& what, const std::string& text, const std::string& reason);
  void ReportDropped(const std::string& what, const std::string& reason) {
    ReportDropped(what, what, reason);
  }
  void ReportUnfitLines(const IFactTemplate& fact_template);
  void RebuildChildren(const Ref<IFactTemplate>& old, const Ref<IFactTemplate>& fact_template);
  Ref<IUserFunction> FindPackageFunction(std::string_view name) const;
  // The names of the globals, each behind those that its value reads.
  std::vector<std::string> GlobalsInOrder();
  std::vector<Ref<IFact>> ParseFacts(std::string_view text);
  void RemoveRulesOn(const IFactTemplate& fact_template, std::vector<std::string>& dropped);
  // Makes the companion of a marked template, or brings it up to the template's slots.
  void FollowWithGoals(const Ref<IFactTemplate>& fact_template);
  std::unique_ptr<TKBParser> NewParser();
  // Flushes the streams when the operation is over, whichever way it ends.
  template <class TOperation>
  auto Flushed(TOperation operation);
  template <class TOperation>
  auto WithText(std::string_view text, TOperation operation);
  template <class TOperation>
  auto WithWholeText(std::string_view text, TOperation operation);
  template <class TOperation>
  auto WithStream(TStream& stream, const TEncoding* encoding, const TTextPlace& start,
                  TOperation operation);
  template <class TOperation>
  void LoadStream(TStream& stream, const TEncoding* encoding, const std::string& file_name,
                  TOperation operation);
  template <class TOperation>
  void LoadFile(const std::string& file_name, const TEncoding* encoding, TOperation operation);
  // Whether a call comes from the host, and not from something that the engine is doing.
  bool IsOutermost() const noexcept {
    return parses_ == 0 && !running_ && in_network_ == 0 && current_activation_ == nullptr &&
           resetting_ == 0;
  }
  // At the start of a call that may fail.
  void ForgetFailure() {
    if ((failure_place_.line > 0 || !failure_place_.rule.empty()) && IsOutermost())
      ClearFailurePlace();
  }
  // Inside a handler: the failure is on its way out of a text or out of the rule that fires.
  void NoteFailure();
  void NoteFailedText(const TKBClipsStream& tokenizer);
  void NoteFailedRule(const std::string& rule_name);

  std::recursive_mutex lock_;
  std::array<Ref<IUserFunction>, kLogicFunctionCount> logic_functions_;
  TFactId next_fact_id_ = 0;
  TFactId kept_fact_id_ = -1;  // what the next fact brings as its id
  std::int32_t next_rule_id_ = 0;
  std::int32_t symbol_index_ = 0;
  std::int32_t saved_symbol_index_ = 0;  // behind the last name that was given away
  TRandom random_;
  DepthCount depth_;
  TSearchStrategy strategy_ = ssDepthFirst;
  bool halted_ = false;
  bool fact_duplication_ = false;
  bool running_ = false;
  bool changing_packages_ = false;
  std::int32_t in_network_ = 0;         // a token or a rule's feed is inside
  std::int32_t removals_reported_ = 0;  // of activations, to handlers, one inside of the other
  std::int32_t operations_ = 0;         // that have begun and not ended
  bool match_interrupted_ = false;
  TTypeChecks type_checks_{tcStatic};
  TFunctionPackages packages_ = kAllPackages;
  TErrorHandling parser_error_handling_ = ehRaiseImmediate;
  std::int32_t parser_max_errors_ = 10;
  float min_activation_strength_ = 0;
  float fuzzy_equals_threshold_ = static_cast<float>(kDefaultFuzzyThreshold);
  // What sets and variables, which may outlive the engine, know of it.
  Ref<TFuzzyParserLink> fuzzy_parser_link_ = Make<TFuzzyParserLink>(this);
  float version_ = 2.7F;
  TFailurePlace failure_place_;
  std::exception_ptr placed_failure_;  // what failure_place_ tells of, while it is on its way out
  std::int32_t rules_fired_ = 0;
  double run_time_ = 0;  // start tick in milliseconds during a run, elapsed seconds after it
  std::int32_t max_activations_ = 0;
  std::int32_t max_facts_ = 0;
  float activation_sum_ = 0;
  float fact_sum_ = 0;
  TActivation* current_activation_ = nullptr;
  // Taken out while they were at work: freed when that has ended.
  std::vector<TRule*> doomed_rules_;
  std::vector<TFactSet*> doomed_fact_sets_;
  std::vector<TRule*> returning_rules_;  // hosts' rules that are being rebuilt
  FirstFailure network_failures_;
  std::int32_t resetting_ = 0;
  std::int32_t reporting_ = 0;         // an activation's coming or going is being reported
  std::vector<TActivation*> placing_;  // the innermost last; null where one has gone meanwhile
  std::deque<TActivation*>
      rebuilding_;  // off the agenda until they are placed anew; null where one was withdrawn

  TKBParserFactory parser_factory_;
  bool has_own_parser_ = true;  // the class that an engine begins with
  TKBTokenizerFactory tokenizer_factory_;
  std::unique_ptr<TKBParser> parser_;
  std::vector<std::unique_ptr<TKBParser>> old_parsers_;  // replaced while they were at work
  std::int32_t parses_ = 0;
  std::unique_ptr<TIOStreams> io_streams_;
  std::shared_ptr<TStream> capture_;
  const TEncoding* capture_encoding_ = nullptr;
  std::unique_ptr<TKBTokenizerStream> batch_;
  bool input_ended_ = false;
  std::string batch_file_name_;  // of the batch that is about to start
  IDialogs* dialogs_ = nullptr;
  std::unique_ptr<IDialogs> terminal_dialogs_;
  std::unique_ptr<THostObjects> objects_;
  std::unique_ptr<TGlobalVariables> global_variables_;
  std::unique_ptr<TKBDefinedTypes> defined_types_;
  std::unique_ptr<TKBAgenda> agenda_;
  std::unique_ptr<TFactTemplates> fact_templates_;
  std::unique_ptr<TFacts> facts_;
  std::deque<Ref<IFact>> pending_assertions_;
  std::deque<Ref<IFact>> pending_retractions_;
  std::vector<Ref<IFact>> unheard_;  // asserted as pending facts, still to be heard of
  bool chaining_ = false;            // a pending fact is on its way
  std::deque<TNetworkWork> work_;
  std::unique_ptr<TKBPattern> initial_pattern_;
  Ref<IFact> not_or_test_fact_;
  std::unique_ptr<TFactSets> fact_sets_;
  std::unique_ptr<TReteNetwork> network_;
  std::unique_ptr<TRules> rules_;
  std::unique_ptr<TEngineVariables> engine_variables_;
  std::unique_ptr<TUserFunctions> user_functions_;
  std::unique_ptr<TKBContext> context_;
};

template <class TOperation>
auto TReasoner::Flushed(TOperation operation) {
  struct Flush {
    TReasoner& engine;
    int failures = std::uncaught_exceptions();
    ~Flush() noexcept(false) {
      if (std::uncaught_exceptions() == failures) {
        engine.FlushStreams();
        return;
      }
      try {
        engine.FlushStreams();
      } catch (...) {
        // The failure that is under way is the one that counts.
      }
    }
  } flush{*this};
  return operation();
}

}  // namespace reasoner
