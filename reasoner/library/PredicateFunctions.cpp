// Tests of a value's type.

#include <array>
#include <string>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"

namespace reasoner {
namespace {

class TGetValueTypeFunction final : public TBuiltinFunction<TGetValueTypeFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "get-type",
                                       .syntax = " <expression> ",
                                       .arguments = Exactly(1),
                                       .comment = "Returns the type of the argument"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewAtom(GetKBTypeName(EvaluateArgument(fun_call, 0, context)->GetDType()));
  }
};

bool IsOddArgument(const IFunCall& fun_call, TKBContext& context) {
  return (IntegerArgument(fun_call, 0, context) & 1) != 0;
}

class TEvenPFunction final : public TBuiltinFunction<TEvenPFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "evenp",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns TRUE if the argument is an even integer, FALSE otherwise"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(!IsOddArgument(fun_call, context));
  }
};

class TOddPFunction final : public TBuiltinFunction<TOddPFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "oddp",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns TRUE if the argument is an odd integer, FALSE otherwise"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(IsOddArgument(fun_call, context));
  }
};

// Whether a value is of one of some types. A name for each set of types, one class for all.
class TVerifyTypePFunction final : public TDescribedFunction {
 public:
  TVerifyTypePFunction(std::string_view name, TKBTypes types) : name_(name), types_(types) {}

  void InitMetaData() override {
    const std::string names = types_.empty() ? "NONE" : SetToString(types_, ", ", false);
    const std::string comment =
        "Returns TRUE if the argument is of the following type(s): " + names +
        ".  If the argument is any other type, FALSE is returned";
    Describe(
        {.name = name_, .syntax = " <expression>", .arguments = Exactly(1), .comment = comment});
  }

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(types_.Has(EvaluateArgument(fun_call, 0, context)->GetDType()));
  }

 private:
  const std::string_view name_;
  const TKBTypes types_;
};

struct TTypeTest {
  std::string_view name;
  TKBTypes types;
};

constexpr std::array kTypeTests{TTypeTest{"lexemep", {dtAtom, dtString}},
                                TTypeTest{"numberp", {dtInteger, dtFloat}},
                                TTypeTest{"floatp", {dtFloat}},
                                TTypeTest{"fuzzyp", {dtFuzzy}},
                                TTypeTest{"integerp", {dtInteger}},
                                TTypeTest{"stringp", {dtString}},
                                TTypeTest{"symbolp", {dtAtom}},
                                TTypeTest{"multifieldp", {dtList}},
                                TTypeTest{"external-addressp", {dtExternalAddress}},
                                TTypeTest{"objectp", {dtObject}}};

}  // namespace

void AddPredicateFunctions(TUserFunctionList& functions) {
  functions.AddNew<TGetValueTypeFunction, TEvenPFunction, TOddPFunction>();
  for (const TTypeTest& test : kTypeTests) {
    functions.Add(Make<TVerifyTypePFunction>(test.name, test.types));
  }
}

}  // namespace reasoner
