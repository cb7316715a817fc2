// Extensions: how the agenda is ordered, from the language.

#include <algorithm>
#include <string>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

template <class TSetting>
struct TWord {
  std::string_view word;
  TSetting setting;
};

constexpr TWord<TSearchStrategy> kStrategies[] = {{"depth", ssDepthFirst},
                                                  {"breadth", ssBreadthFirst}};
constexpr TWord<TSalience> kEvaluations[] = {{"when-activated", sActivate},
                                             {"every-cycle", sEveryTime}};

template <class TSetting, std::size_t kCount>
Ref<IKBValue> WordFor(const TWord<TSetting> (&words)[kCount], TSetting setting) {
  const auto found = std::find_if(std::begin(words), std::end(words),
                                  [setting](const auto& row) { return row.setting == setting; });
  return found == std::end(words) ? Ref<IKBValue>(FCNil) : NewAtom(Text(found->word));
}

template <class TSetting, std::size_t kCount>
TSetting SettingFor(const TWord<TSetting> (&words)[kCount], std::string_view word) {
  const auto found = std::find_if(std::begin(words), std::end(words),
                                  [word](const auto& row) { return row.word == word; });
  if (found == std::end(words)) Raise(SUnknownSetting, word, words[0].word, words[1].word);
  return found->setting;
}

class TGetStrategyFunction final : public TBuiltinFunction<TGetStrategyFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-strategy",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Returns the order in which rules of equal salience fire: depth or breadth",
      .example = "(get-strategy)"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    result = WordFor(kStrategies, EngineOf(context).GetStrategy());
  }
};

class TSetStrategyFunction final : public TBuiltinFunction<TSetStrategyFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "set-strategy",
      .syntax = " <depth | breadth>",
      .arguments = Exactly(1),
      .comment =
          "Sets the order in which rules of equal salience fire: the newest activation first "
          "for depth, the oldest for breadth.  Returns the order that held before",
      .example = "(create$ (set-strategy breadth) (get-strategy))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const TSearchStrategy strategy =
        SettingFor(kStrategies, TextArgument(fun_call, 0, context).view());
    result = WordFor(kStrategies, engine.GetStrategy());
    engine.SetStrategy(strategy);
  }
};

class TGetSalienceEvaluationFunction final
    : public TBuiltinFunction<TGetSalienceEvaluationFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-salience-evaluation",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Returns when salience expressions are evaluated: when-activated or every-cycle",
      .example = "(get-salience-evaluation)"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    result = WordFor(kEvaluations, EngineOf(context).SalienceEvaluation);
  }
};

class TSetSalienceEvaluationFunction final
    : public TBuiltinFunction<TSetSalienceEvaluationFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "set-salience-evaluation",
      .syntax = " <when-activated | every-cycle>",
      .arguments = Exactly(1),
      .comment =
          "Sets when salience expressions are evaluated: when a rule is activated, or again "
          "for every waiting activation before each firing.  Returns what held before",
      .example = "(create$ (set-salience-evaluation every-cycle) (get-salience-evaluation))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const TSalience evaluation =
        SettingFor(kEvaluations, TextArgument(fun_call, 0, context).view());
    result = WordFor(kEvaluations, engine.SalienceEvaluation);
    engine.SalienceEvaluation = evaluation;
  }
};

}  // namespace

void AddRunSettingFunctions(TUserFunctionList& functions) {
  functions.AddNew<TSetStrategyFunction, TGetStrategyFunction, TSetSalienceEvaluationFunction,
                   TGetSalienceEvaluationFunction>();
}

}  // namespace reasoner
