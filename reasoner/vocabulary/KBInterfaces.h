// What the floors know of each other: the shared interfaces, and the engine as the floors below it
// see it.
//
// An interface with one implementation is that class under a second name (`IFact` is `TFact`): the
// names stand here, the classes on their own floors. What is really abstract is declared here: the
// payload of a cell, a scope in which a cell can be evaluated, and `IReasoner`.

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "reasoner/support/Cloneable.h"
#include "reasoner/support/Event.h"
#include "reasoner/support/Ref.h"
#include "reasoner/support/Text.h"
#include "reasoner/vocabulary/KBConsts.h"

namespace reasoner {

class TActivation;
class TBindingInfo;
class TComponent;
class TFact;
class TFactSet;
class TFactSlot;
class TFactTemplate;
class TFuzzyParserLink;
class TFunctionCall;
class TIFuzzySet;
class TIFuzzyVariable;
class TInterpretedFunction;
class TKBContext;
class TKBDefinedType;
class TKBPattern;
class TKBStreamToken;
class TKBToken;
class TKBUserFunction;
class TKBValue;
class TReasoner;
class TRule;
class TSingletonsVector;
class TValueVector;

using IFact = TFact;
using IFactSlot = TFactSlot;
using IFactTemplate = TFactTemplate;
using IFunCall = TFunctionCall;
using IFuzzySet = TIFuzzySet;
using IFuzzyVariable = TIFuzzyVariable;
using IInterpretedFunction = TInterpretedFunction;
using IKBDefinedType = TKBDefinedType;
using IKBValue = TKBValue;
using IReteToken = TKBToken;
using ISingletonsVector = TSingletonsVector;
using IStreamToken = TKBStreamToken;
using IUserFunction = TKBUserFunction;
using IValueVector = TValueVector;

// Where a cell is evaluated: what its variables mean, and which match its bindings point into.
class IScope {
 public:
  // The value of a variable, or null when the name has no binding with a value.
  virtual Ref<IKBValue> FindValue(const Text& name) = 0;
  // What the binding points to in the current match. Raises where the match does not reach that
  // far.
  virtual Ref<IKBValue> ReadMatch(const TBindingInfo& info) = 0;
  // Raises the failure of a variable that FindValue does not find.
  [[noreturn]] virtual void RaiseUnknown(const Text& name) const;
  // The scope as a frame of the engine, or null for a scope that a host has made.
  TKBContext* GetFrame() const noexcept { return frame_; }

 protected:
  IScope() = default;
  explicit IScope(TKBContext* frame) noexcept : frame_(frame) {}
  ~IScope() = default;

 private:
  TKBContext* frame_ = nullptr;
};

// A partial match as evaluation sees it: a chain of facts.
class IMatch : public IInterface {
 public:
  virtual std::int32_t GetCount() const noexcept = 0;
  // The fact at a place of the chain, the first at 0; the last one for a place past the end.
  virtual IFact* GetFacts(std::int32_t index) const noexcept = 0;
};

// A payload that is evaluated: a function call.
class ICallable : public ICloneable {
 public:
  virtual void Execute(IScope* scope, Ref<IKBValue>& result) = 0;
};

class IReasoner;

// How objects that may outlive an engine know it: the engine's destructor empties the link.
class TReasonerLink final : public IInterface {
 public:
  IReasoner* engine = nullptr;
  // Goes up whenever a function comes, goes or changes its name: calls then look theirs up again.
  std::uint32_t function_generation = 0;
  // What rules and functions mean: what a plain reading gives, or the literal meaning of the
  // network. Written by the engine, see TReasoner::SetTextbookSemantics.
  bool textbook_semantics = true;
  // How often a host has asked, from any thread, for the end of what runs. The outermost operation
  // begins and ends with none.
  std::atomic<std::int32_t> interrupt_requests{0};
};

// The functions that the engine itself calls out of patterns, whatever the registry holds under
// their names.
enum TLogicFunction : std::uint8_t { lfAnd, lfOr, lfNot, lfEq, lfNeq, lfEqStar };
inline constexpr std::size_t kLogicFunctionCount = 6;

// A parser and printer of point lists.
class ISingletonsParser {
 public:
  virtual std::string PrettyPrint(const ISingletonsVector& singletons) = 0;

 protected:
  ~ISingletonsParser() = default;
};

// The engine, for the floors below it. Only TReasoner implements it; it is not counted.
class IReasoner {
 public:
  IReasoner(const IReasoner&) = delete;
  IReasoner& operator=(const IReasoner&) = delete;

  const Ref<TReasonerLink>& GetLink() const noexcept { return link_; }
  virtual TComponent& AsComponent() noexcept = 0;
  virtual TKBContext& GetContext() noexcept = 0;
  // The value evaluated in the engine's own context.
  virtual Ref<IKBValue> ResolveInContext(const Ref<IKBValue>& value) = 0;
  // Raises when the host has asked for an interruption and what runs may end here; polled at every
  // call, loop turn and expression.
  void CheckInterrupt() {
    if (link_->interrupt_requests.load(std::memory_order_relaxed) != 0) PollInterrupt();
  }

  // Printing.
  virtual std::string PrettyPrint(const TFactSet& fact_set) = 0;
  virtual std::string PrettyPrint(const IFact& fact) = 0;
  virtual std::string PrettyPrint(const IFunCall& fun_call) = 0;
  virtual std::string PrettyPrint(const IUserFunction& function) = 0;
  virtual std::string PrettyPrint(const IInterpretedFunction& function) = 0;
  virtual std::string PrettyPrint(const IKBDefinedType& type) = 0;
  virtual std::string PrettyPrint(const IFactSlot& slot) = 0;
  virtual std::string PrettyPrint(const IFactTemplate& fact_template) = 0;
  virtual std::string PrettyPrint(const TRule& rule) = 0;
  virtual std::string PrettyPrint(const TKBPattern& pattern) = 0;

  // Functions.
  virtual bool AddUserFunction(const Ref<IUserFunction>& function) = 0;
  virtual void RemoveUserFunction(IUserFunction& function) = 0;
  virtual bool ContainsUserFunction(std::string_view name) = 0;
  virtual bool ContainsUserFunction(std::string_view name, Ref<IUserFunction>& function) = 0;
  virtual Ref<IUserFunction> GetUserFunction(std::string_view name) = 0;
  virtual void SetUserFunction(std::string_view name, const Ref<IUserFunction>& function) = 0;
  virtual const Ref<IUserFunction>& GetLogicFunction(TLogicFunction function) = 0;

  // Constructs.
  virtual TTypeChecks GetTypeChecks() const noexcept = 0;
  virtual TFactId GetNextFactId() const noexcept = 0;
  virtual std::string GenerateSymbol(std::string_view prefix) = 0;
  // Tells of a name that a text uses: no name that is generated from now on will be the same.
  virtual void KeepSymbol(std::string_view name) = 0;
  // Null for an unknown name.
  virtual Ref<IFactTemplate> FindFactTemplate(std::string_view name) = 0;
  // The template of that name; an unknown one is made and registered as implied.
  virtual Ref<IFactTemplate> CreateFactTemplate(std::string_view name) = 0;
  // Takes an implied template out again if the registry and the caller alone hold it; gives whether
  // they did.
  virtual bool ForgetTemplate(const Ref<IFactTemplate>& fact_template) = 0;
  virtual void ChangeFactTemplateName(std::string_view old_name, std::string_view new_name) = 0;
  // Lists a type under another name, if the engine lists it. Raises when that name is taken.
  virtual void RenameType(const IKBDefinedType& type, std::string_view new_name) = 0;
  virtual Ref<IKBDefinedType> FindDefinedType(std::string_view name) = 0;
  virtual bool HasGlobalVariable(std::string_view name) const = 0;
  virtual Ref<IFact> ParseFactText(std::string_view text) = 0;
  virtual std::unique_ptr<TRule> ParseRuleText(std::string_view text) = 0;
  // A fact of a fact set: the slots that were written.
  virtual std::string PrintFactLine(const IFact& fact) = 0;
  virtual Ref<IKBValue> ParseSlotValueText(std::string_view text, const IFactSlot& slot) = 0;
  virtual Ref<IFactSlot> ParseSlotText(std::string_view text) = 0;

  // Fuzzy values.
  virtual const Ref<TFuzzyParserLink>& GetFuzzyParserLink() const noexcept = 0;
  virtual float GetFuzzyEqualsThreshold() const noexcept = 0;
  // The value as a fuzzy value of the variable, which may be null. Without a context what needs one
  // comes back as it is.
  virtual Ref<IKBValue> EvalFuzzyExpression(IFuzzyVariable* variable, const Ref<IKBValue>& value,
                                            TKBContext* context) = 0;

  // Constructs that have been read whole: each goes to its registry, which decides about a name in
  // use.
  virtual void EnterTemplate(const Ref<IFactTemplate>& fact_template) = 0;
  virtual void EnterType(const Ref<IKBDefinedType>& type) = 0;
  virtual void EnterFunction(const Ref<IUserFunction>& function) = 0;
  virtual void SetGlobalVariable(std::string_view name, const Ref<IKBValue>& value) = 0;
  virtual std::vector<std::pair<std::string, Ref<IKBValue>>> GetGlobalValues() const = 0;
  // Asserts the fact as it is; the id, or -1.
  virtual TFactId AssertFact(const Ref<IFact>& fact) = 0;
  virtual void PrintOut(const std::string& out_id, const std::string& text) = 0;

  // Fact sets.
  // False where another set of the name stands, and stays as DuplicateConstructs tells.
  virtual bool EnterFactSet(TFactSet& fact_set) = 0;
  // Raises for the name of another set when this one is among the engine's.
  virtual void CheckFactSetName(const TFactSet& fact_set, std::string_view name) = 0;
  virtual void LeaveFactSet(TFactSet& fact_set) = 0;
  // Evaluates the fact's slots in the engine's context and asserts it; the id, or -1.
  virtual TFactId AssertResolved(const Ref<IFact>& fact) = 0;

  // Rules and matching.
  virtual std::int32_t NewRuleId() = 0;
  virtual void RenameRule(std::string_view old_name, std::string_view new_name) = 0;
  virtual void RuleChange(TRule& rule) = 0;
  virtual bool HoldsRule(const TRule& rule) const = 0;
  // Takes a rule that has changed engines into the registry, or out of it.
  virtual void EnterRule(TRule& rule) = 0;
  virtual void LeaveRule(TRule& rule) = 0;
  virtual const TKBPattern& GetInitialPattern() = 0;
  virtual const Ref<IFact>& GetNotOrTestFact() const noexcept = 0;
  // Takes ownership.
  virtual bool AddActivation(TActivation& activation) = 0;
  // Both give the activation back when it has left the agenda and nobody else owns it.
  virtual std::unique_ptr<TActivation> RemoveActivation(TActivation& activation) = 0;
  virtual std::unique_ptr<TActivation> RuleFired(TActivation& activation) = 0;
  // The rule has been marked as fired: a one-shot rule's other activations stand down.
  virtual void RuleMarkedFired(TRule& rule) = 0;
  // Raises "Network is busy: %s" while a token is inside.
  virtual void RequireIdleNetwork(const char* doing) const = 0;
  // Frees all nodes of the network, as an act of the network's own.
  virtual void ClearNetwork() = 0;
  // What a handler inside the network raised: it goes on when the network is idle again.
  virtual void NetworkFailed(std::exception_ptr failure) = 0;
  virtual void AddPendingFact(const Ref<IFact>& fact, bool assertion) = 0;
  // The facts of the base in order, for feeding a new rule.
  virtual std::vector<Ref<IFact>> SnapshotFacts() = 0;

 protected:
  IReasoner();
  ~IReasoner();
  // Tells everyone who keeps the link that the engine is gone.
  void CloseLink() noexcept { link_->engine = nullptr; }
  // The host has asked for an interruption.
  virtual void PollInterrupt() = 0;

 private:
  Ref<TReasonerLink> link_;
};

// Event signatures. The first argument is the object that raises; what comes by non-const reference
// is the handler's to change. Handlers may call back into the engine. An event that is not assigned
// is empty.
using TNotifyEvent = Event<void(TComponent& sender)>;

}  // namespace reasoner
