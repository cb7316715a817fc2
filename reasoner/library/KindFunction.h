// Not for hosts: functions that one class serves under several names.
//
// The class has a table `kRows` of its kinds with their words. An object is one of them; when it is
// given another name of the table, it becomes that one.

#pragma once

#include <string_view>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"

namespace reasoner {

template <class TKind>
struct TKindRow {
  TKind kind;
  TFunctionInfo info;
};

template <class TSelf, class TKind>
class TKindFunction : public TDescribedFunction {
 public:
  using TRow = TKindRow<TKind>;

  explicit TKindFunction(const TRow& row) : row_(&row) {}

  void InitMetaData() override { Describe(row_->info); }

  // Any other name leaves the function what it is.
  void SetFunctionName(std::string_view name) override {
    for (const TRow& row : TSelf::kRows) {
      if (row.info.name != name) continue;
      row_ = &row;
      argument_string_ = row.info.syntax;
      min_arguments_ = row.info.arguments.min;
      max_arguments_ = row.info.arguments.max;
      comment_ = row.info.comment;
      example_ = row.info.example;
      prelude_ = row.info.prelude;
    }
    TDescribedFunction::SetFunctionName(name);
  }

 protected:
  TKind GetKind() const noexcept { return row_->kind; }

 private:
  const TRow* row_;
};

// A function of each kind, in the order of the table.
template <class TFunction>
void AddKinds(TUserFunctionList& functions) {
  for (const auto& row : TFunction::kRows) functions.Add(Make<TFunction>(row));
}

}  // namespace reasoner
