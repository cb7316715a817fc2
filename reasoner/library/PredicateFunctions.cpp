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
                                       .comment = "Returns the type of the argument",
                                       .example = "(get-type 1.5)"};

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
      .comment = "Returns TRUE if the argument is an even integer, FALSE otherwise",
      .example = "(evenp 4)"};

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
      .comment = "Returns TRUE if the argument is an odd integer, FALSE otherwise",
      .example = "(oddp -3)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(IsOddArgument(fun_call, context));
  }
};

// Whether a value is of one of some types. A name for each set of types, one class for all.
class TVerifyTypePFunction final : public TDescribedFunction {
 public:
  TVerifyTypePFunction(std::string_view name, TKBTypes types, std::string_view example)
      : name_(name), types_(types), example_(example) {}

  void InitMetaData() override {
    const std::string names = types_.empty() ? "NONE" : SetToString(types_, ", ", false);
    const std::string comment =
        "Returns TRUE if the argument is of the following type(s): " + names +
        ".  If the argument is any other type, FALSE is returned";
    Describe({.name = name_,
              .syntax = " <expression>",
              .arguments = Exactly(1),
              .comment = comment,
              .example = example_});
  }

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(types_.Has(EvaluateArgument(fun_call, 0, context)->GetDType()));
  }

 private:
  const std::string_view name_;
  const TKBTypes types_;
  const std::string_view example_;
};

struct TTypeTest {
  std::string_view name;
  TKBTypes types;
  std::string_view example;
};

constexpr std::array kTypeTests{
    TTypeTest{"lexemep", {dtAtom, dtString}, "(lexemep abc)"},
    TTypeTest{"numberp", {dtInteger, dtFloat}, "(numberp 1.5)"},
    TTypeTest{"floatp", {dtFloat}, "(floatp 1)"},
    TTypeTest{"fuzzyp", {dtFuzzy}, "(fuzzyp cold)"},
    TTypeTest{"integerp", {dtInteger}, "(integerp 1)"},
    TTypeTest{"stringp", {dtString}, "(stringp abc)"},
    TTypeTest{"symbolp", {dtAtom}, "(symbolp abc)"},
    TTypeTest{"multifieldp", {dtList}, "(multifieldp (create$ a b))"},
    TTypeTest{"external-addressp", {dtExternalAddress}, "(external-addressp 1)"},
    TTypeTest{"objectp", {dtObject}, "(objectp abc)"}};

}  // namespace

void AddPredicateFunctions(TUserFunctionList& functions) {
  functions.AddNew<TGetValueTypeFunction, TEvenPFunction, TOddPFunction>();
  for (const TTypeTest& test : kTypeTests) {
    functions.Add(Make<TVerifyTypePFunction>(test.name, test.types, test.example));
  }
}

}  // namespace reasoner
