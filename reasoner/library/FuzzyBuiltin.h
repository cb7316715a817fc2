// Not for hosts: what the families of fuzzy functions share.

#pragma once

#include <string_view>

#include "reasoner/engine/FuzzyValues.h"
#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"

namespace reasoner {

// A class that serves several names: a kind says which one. `kRows` of the class has the kinds in
// order, each with its words; the first is what a new object is. Another of the names turns the
// function into that one; any other name leaves it what it is.
template <class TSelf, class TKindOf>
class TFuzzyKindFunction : public TDescribedFunction {
 public:
  using TKind = TKindOf;
  struct TRow {
    TKind kind;
    TFunctionInfo info;
  };

  void InitMetaData() override {
    Describe(TSelf::kRows.front().info);
    SetKind(TSelf::kRows.front().kind);
  }

  TKind GetKind() const noexcept { return kind_; }
  // The name stays what it is.
  void SetKind(TKind kind) {
    for (const TRow& row : TSelf::kRows) {
      if (row.kind != kind) continue;
      kind_ = kind;
      comment_ = row.info.comment;
      argument_string_ = row.info.syntax;
      min_arguments_ = row.info.arguments.min;
      max_arguments_ = row.info.arguments.max;
      example_ = row.info.example;
      prelude_ = row.info.prelude;
    }
  }

  void SetFunctionName(std::string_view name) override {
    if (GetFunctionName() == name) return;
    TDescribedFunction::SetFunctionName(name);
    for (const TRow& row : TSelf::kRows) {
      if (row.info.name == name) SetKind(row.kind);
    }
  }

  // A new function for each of the names.
  static void AddTo(TUserFunctionList& functions) {
    for (const TRow& row : TSelf::kRows) {
      const Ref<TSelf> function = Make<TSelf>();
      function->SetFunctionName(row.info.name);
      functions.Add(function);
    }
  }

 private:
  TKind kind_{};
};

// The set that an argument stands for.
inline Ref<IFuzzySet> FuzzySetArgument(const IFunCall& fun_call, std::int32_t index,
                                       TKBContext& context) {
  const Ref<IKBValue>& argument = fun_call.GetArgument(index);
  Ref<IFuzzySet> set;
  GetFuzzySetFromValue(argument ? argument : Ref<IKBValue>(FCNil), context, set);
  return set;
}

// The variable of the type of this name, or null.
inline Ref<IFuzzyVariable> FindFuzzyVariable(const IKBValue& name, TReasoner& engine) {
  const Ref<IKBDefinedType> type = engine.FindDefinedType(name.TextView());
  return type ? type->GetFuzzyType() : Ref<IFuzzyVariable>();
}

// What the examples reason about.
inline constexpr std::string_view kTemperature =
    "(deftype temperature extends (type FUZZY) (range 0 100) (units C)\n"
    "   (values (term cold (z 10 40)) (term warm (tri 20 45 70)) (term hot (s 50 90))))";
inline constexpr std::string_view kRoom =
    "(deftype temperature extends (type FUZZY) (range 0 100) (units C)\n"
    "   (values (term cold (z 10 40)) (term warm (tri 20 45 70)) (term hot (s 50 90))))\n"
    "(deftemplate room (slot name) (slot heat (type temperature)))\n"
    "(bind ?room (assert (room (name kitchen) (heat warm))))";

}  // namespace reasoner
