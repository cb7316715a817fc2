// The engine's storage of named values, and a look at variables by name.

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"

namespace reasoner {
namespace {

class TStoreFunction final : public TBuiltinFunction<TStoreFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "store",
      .syntax = " <variable-name> <value>",
      .arguments = Exactly(2),
      .comment =
          "Stores the specified value associated with the specified name.  You can retrieve the "
          "value later using the name and the fetch command",
      .example = "(store limit 5)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = EvaluateArgument(fun_call, 1, context);
    const Text key = TextArgument(fun_call, 0, context);
    EngineOf(context).GetEngineVariables().Put(key, result);
  }
};

class TFetchFunction final : public TBuiltinFunction<TFetchFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "fetch",
      .syntax = " <lexeme-expression>",
      .arguments = Exactly(1),
      .comment =
          "Retrieves and returns the value previously stored using the store command.  The "
          "<lexeme-expression> is the string or symbol used as the key to store the value",
      .example = "(fetch limit)",
      .prelude = "(store limit 5)"};

  // The key is read as it is written: (fetch ?k) looks for the key "k".
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text key = WrittenArgument(fun_call, 0).GetAsString();
    result = EngineOf(context).GetEngineVariables().Get(key);
    if (!result) result = FCNil;
  }
};

class TClearStorageFunction final : public TBuiltinFunction<TClearStorageFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "clear-storage",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Clears the storage area where the store and fetch command save values",
      .example = "(clear-storage)",
      .prelude = "(store limit 5)"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    EngineOf(context).GetEngineVariables().Clear();
    result = FCTrue;
  }
};

class TExtractGlobalFunction final : public TBuiltinFunction<TExtractGlobalFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "__get-var",
                                       .syntax = " <variable-name>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns the value associated with the variable name, "
                                           "or nil if the variable doesn't exist",
                                       .example = "(__get-var x)",
                                       .prelude = "(bind ?x 5)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    if (KBVariableTypes.Has(WrittenArgument(fun_call, 0).GetDType())) {
      result = EvaluateArgument(fun_call, 0, context);
      return;
    }
    const TBinding* binding = context.FindBinding(TextArgument(fun_call, 0, context));
    result = binding != nullptr && binding->Value ? binding->Value : Ref<IKBValue>(FCNil);
  }
};

}  // namespace

void AddStorageFunctions(TUserFunctionList& functions) {
  functions.AddNew<TStoreFunction, TFetchFunction, TClearStorageFunction, TExtractGlobalFunction>();
}

}  // namespace reasoner
