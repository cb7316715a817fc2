// The engine's settings, parsing and guarding from within the language.

#include <new>
#include <string>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace reasoner {
namespace {

class TKBParseFunction final : public TBuiltinFunction<TKBParseFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "parse",
      .syntax = "<string-expression>",
      .arguments = Exactly(1),
      .comment =
          "Parses and executes the string parameter.  The string may be any Rulekit command; this "
          "allows dynamic creation of fact templates, rules, etc as well as executing any "
          "function.  Returns TRUE if string was successfully parsed and executed, FALSE otherwise",
      .example = "(parse \"(deffunction twice (?x) (* 2 ?x)) (printout t (twice 21) crlf)\")"};

  // What ends a run or a parse without being a failure of the text goes on.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text text = TextArgument(fun_call, 0, context);
    TReasoner& engine = EngineOf(context);
    result = FCTrue;
    try {
      engine.Parse(text, true);
    } catch (const EAbort&) {
      throw;
    } catch (const EKBInterrupted&) {
      throw;
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception&) {
      result = FCFalse;
    }
  }
};

class TGuardFunction final : public TBuiltinFunction<TGuardFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "guard",
      .syntax = "<function-call-argument>+",
      .arguments = AtLeast(1),
      .comment =
          "\"Guards\" its function call arguments.  The guard function suppresses the activation "
          "of its enclosing rule for its function call arguments.  Functions, such as Modify or "
          "Assert, cannot activate the guarded rule.  The guard function is useful when updating a "
          "fact and you do not wish the rule to re-activate.  If this function is not called from "
          "a rule, it has no effect.",
      .example = "(run)",
      .prelude =
          "(deftemplate counter (slot count))\n"
          "(defrule step ?c <- (counter (count ?n)) => (guard (modify ?c (count (+ ?n 1)))))\n"
          "(assert (counter (count 1)))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const ScopedDisabled disabled(EngineOf(context));
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      result = EvaluateArgument(fun_call, i, context);
    }
  }

 private:
  // Takes the flag from the rule that is being fired, for a scope. Nobody hears of it: the rule's
  // definition stays what it is.
  class ScopedDisabled {
   public:
    explicit ScopedDisabled(TReasoner& engine) : activation_(engine.GetCurrentActivation()) {
      if (activation_ == nullptr || !activation_->HasRule()) return;
      enabled_ = &activation_->GetRule().Enabled;
      was_enabled_ = *enabled_;
      *enabled_ = false;
    }
    // The rule may be gone by now: then the activation has forgotten it.
    ~ScopedDisabled() {
      if (enabled_ != nullptr && activation_->HasRule()) *enabled_ = was_enabled_;
    }
    ScopedDisabled(const ScopedDisabled&) = delete;
    ScopedDisabled& operator=(const ScopedDisabled&) = delete;

   private:
    TActivation* activation_;  // the run loop's, which lives until the firing has ended
    bool* enabled_ = nullptr;
    bool was_enabled_ = true;
  };
};

class TResetGlobalsFunction final : public TBuiltinFunction<TResetGlobalsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "set-reset-globals",
      .syntax = " [<boolean-expression>]",
      .arguments = Between(0, 1),
      .comment = "Sets and displays the ResetGlobals property of the reasoner",
      .example = "(set-reset-globals)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    if (fun_call.GetArgumentCount() == 0) {
      result = BooleanValue(engine.ResetGlobals);
      return;
    }
    result = EvaluateArgument(fun_call, 0, context);
    engine.ResetGlobals = result->Equals(*FCTrue);
  }
};

template <class TSelf>
class TGetCheckFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(EngineOf(context).GetTypeChecks().Has(TSelf::kCheck));
  }
};

// Gives the old setting.
template <class TSelf>
class TSetCheckFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const bool is_wanted = EvaluateArgument(fun_call, 0, context)->Equals(*FCTrue);
    const TTypeChecks checks = engine.GetTypeChecks();
    result = BooleanValue(checks.Has(TSelf::kCheck));
    engine.SetTypeChecks(is_wanted ? checks + TTypeChecks{TSelf::kCheck}
                                   : checks - TTypeChecks{TSelf::kCheck});
  }
};

class TGetStaticCheckFunction final : public TGetCheckFunction<TGetStaticCheckFunction> {
 public:
  static constexpr TTypeCheck kCheck = tcStatic;
  static constexpr TFunctionInfo kInfo{
      .name = "get-static-constraint-checking",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Returns the current value of the static constraint checking behavior",
      .example = "(get-static-constraint-checking)"};
};

class TGetDynamicCheckFunction final : public TGetCheckFunction<TGetDynamicCheckFunction> {
 public:
  static constexpr TTypeCheck kCheck = tcDynamic;
  static constexpr TFunctionInfo kInfo{
      .name = "get-dynamic-constraint-checking",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Returns the current value of the dynamic constraint checking behavior",
      .example = "(get-dynamic-constraint-checking)"};
};

class TSetStaticCheckFunction final : public TSetCheckFunction<TSetStaticCheckFunction> {
 public:
  static constexpr TTypeCheck kCheck = tcStatic;
  static constexpr TFunctionInfo kInfo{
      .name = "set-static-constraint-checking",
      .syntax = " <boolean-expression>",
      .arguments = Exactly(1),
      .comment =
          "Sets the static constraint checking behavior.  The old behavior value is returned",
      .example = "(set-static-constraint-checking FALSE)"};
};

class TSetDynamicCheckFunction final : public TSetCheckFunction<TSetDynamicCheckFunction> {
 public:
  static constexpr TTypeCheck kCheck = tcDynamic;
  static constexpr TFunctionInfo kInfo{
      .name = "set-dynamic-constraint-checking",
      .syntax = " <boolean-expression>",
      .arguments = Exactly(1),
      .comment =
          "Sets the dynamic constraint checking behavior.  The old behavior value is returned",
      .example = "(set-dynamic-constraint-checking TRUE)"};
};

}  // namespace

void AddSystemFunctions(TUserFunctionList& functions) {
  functions.AddNew<TKBParseFunction, TGuardFunction, TResetGlobalsFunction, TGetStaticCheckFunction,
                   TGetDynamicCheckFunction, TSetStaticCheckFunction, TSetDynamicCheckFunction>();
}

}  // namespace reasoner
