// The host's classes, objects and components.

#include <optional>
#include <string>

#include "reasoner/engine/HostObjects.h"
#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

THostObjects& ObjectsOf(const TKBContext& context) { return EngineOf(context).GetObjects(); }

const TClassReference* ClassArgument(const IFunCall& fun_call, std::int32_t index,
                                     TKBContext& context) {
  return EvaluateArgument(fun_call, index, context)->GetAsClass();
}

// The component in a cell; null for any other object, or none.
TComponent* ComponentIn(const IKBValue& value) {
  if (host_values::IsNoObject(value)) return nullptr;
  return dynamic_cast<TComponent*>(value.GetAsObject());
}

class TCreateComponentFunction final : public TBuiltinFunction<TCreateComponentFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "create-component",
      .syntax = " <TComponentClass-expression> <TComponent-expression> [<TWinControl-expression>]",
      .arguments = Between(2, 3),
      .comment =
          "Creates and returns a component based on the first argument's class.  The second "
          "argument is the owner of the component.  The optional third argument specifies the "
          "parent of the component",
      .example = "(create-component (get-class TComponent) nil)"};

  // The parent is the property of that name, if the class has one.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const TClassReference* const class_reference = ClassArgument(fun_call, 0, context);
    const Ref<IKBValue> owner_value = EvaluateArgument(fun_call, 1, context);
    Ref<IKBValue> parent;
    if (fun_call.GetArgumentCount() > 2) parent = EvaluateArgument(fun_call, 2, context);
    TComponent* const owner = ComponentIn(*owner_value);
    if (owner == nullptr && !host_values::IsNoObject(*owner_value))
      Raise(SMissingComponent, GetFunctionName());
    THostObjects& objects = ObjectsOf(context);
    const Ref<IKBValue> component = objects.CreateComponent(class_reference, owner);
    result = component;
    if (!parent || host_values::IsNoObject(*parent)) return;
    try {
      if (!objects.SetProperty(*component, "Parent", *parent))
        Raise(SInvalidArgument, GetFunctionName(), parent->ToString());
    } catch (...) {
      objects.Free(*component);
      throw;
    }
  }
};

class TCreateObjectFunction final : public TBuiltinFunction<TCreateObjectFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "create-object",
      .syntax = " <TClass-expression>",
      .arguments = Exactly(1),
      .comment = "Creates and returns an object based on the specified class",
      .example = "(create-object (get-class TComponent))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = ObjectsOf(context).Create(ClassArgument(fun_call, 0, context));
  }
};

class TExecuteActionFunction final : public TBuiltinFunction<TExecuteActionFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "execute-action",
      .syntax = " <TBasicAction-expression>",
      .arguments = Exactly(1),
      .comment =
          "Executes the specified action.  It returns the boolean value returned by the Execute "
          "method",
      .example = "(execute-action nil)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> action = EvaluateArgument(fun_call, 0, context);
    const std::optional<bool> done = ObjectsOf(context).Execute(*action);
    if (!done) Raise(SInvalidArgument, GetFunctionName(), action->ToString());
    result = BooleanValue(*done);
  }
};

class TFreeObjectFunction final : public TBuiltinFunction<TFreeObjectFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "free-object",
      .syntax = " <TObject-expression>*",
      .arguments = AtLeast(1),
      .comment = "Frees the object arguments",
      .example = "(free-object ?c)",
      .prelude = "(bind ?c (create-object (get-class TComponent)))"};

  // What the host has lent stays alive; rules do not reach it any more.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      const Ref<IKBValue> object = EvaluateArgument(fun_call, i, context);
      ObjectsOf(context).Free(*object);
    }
    result = FCTrue;
  }
};

// The component that the argument gives, else the owner of the engine.
TComponent* ComponentArgument(const IFunCall& fun_call, TKBContext& context, bool is_given) {
  return is_given ? ComponentIn(*EvaluateArgument(fun_call, 0, context))
                  : EngineOf(context).GetOwner();
}

class TGetComponentFunction final : public TBuiltinFunction<TGetComponentFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-component",
      .syntax = " [<component-name>] | \n [<TComponent-expression> <component-name>]",
      .arguments = Between(0, 2),
      .comment =
          "Returns the component specified by the arguments.  If there is only one argument, the "
          "argument is the name of the component that is owned by the reasoner's owner.  If there "
          "are two arguments, the first argument is the component to search for the component with "
          "the same name as the second argument.  If there are no arguments, the reasoner's owner "
          "is returned",
      .example = "(get-component ?house Door)",
      .prelude =
          "(bind ?house (create-object (get-class TComponent)))\n"
          "(bind ?door (create-component (get-class TComponent) ?house))\n"
          "(set-property ?door Name \"Door\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const std::int32_t count = fun_call.GetArgumentCount();
    TComponent* const searched = ComponentArgument(fun_call, context, count == 2);
    result = FCNil;
    if (count == 0) {
      if (searched != nullptr) result = ObjectsOf(context).Lend(*searched);
      return;
    }
    if (searched == nullptr) Raise(SMissingComponent, GetFunctionName());
    const Text name = TextArgument(fun_call, count - 1, context);
    for (std::size_t i = 0; i < searched->GetComponentCount(); ++i) {
      TComponent& component = searched->GetComponent(i);
      if (!EqualsIgnoreCase(component.GetName(), name)) continue;
      result = ObjectsOf(context).Lend(component);
      return;
    }
  }
};

class TGetComponentsFunction final : public TBuiltinFunction<TGetComponentsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-components",
      .syntax = " [<TComponent-expression>]",
      .arguments = Between(0, 1),
      .comment =
          "Returns the child components of the specified component.  If no is specified, then the "
          "child components of the TReasoner component's owner is returned",
      .example = "(get-components ?house)",
      .prelude =
          "(bind ?house (create-object (get-class TComponent)))\n"
          "(create-component (get-class TComponent) ?house)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TComponent* const parent =
        ComponentArgument(fun_call, context, fun_call.GetArgumentCount() == 1);
    if (parent == nullptr) Raise(SMissingComponent, GetFunctionName());
    const Ref<IValueVector> children = NewVector();
    for (std::size_t i = 0; i < parent->GetComponentCount(); ++i) {
      children->Add(ObjectsOf(context).Lend(parent->GetComponent(i)));
    }
    result = NewList(children);
  }
};

class TGetClassFunction final : public TBuiltinFunction<TGetClassFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-class",
      .syntax = " <class-name>",
      .arguments = Exactly(1),
      .comment =
          "Returns the TClass value for the specified class name.  The class needs to be "
          "registered first with the RegisterClass function",
      .example = "(get-class TComponent)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text name = TextArgument(fun_call, 0, context);
    const TClassReference* const class_reference = ObjectsOf(context).FindClass(name.view());
    if (class_reference == nullptr) Raise(SUnknownKBClassName, name.view());
    result = Make<TKBValue>(class_reference);
  }
};

class TGetPropertyFunction final : public TBuiltinFunction<TGetPropertyFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-property",
      .syntax = " <TObject-expression> <property-name>",
      .arguments = Exactly(2),
      .comment =
          "Returns the property value (specified by the second argument) of the TObject specified "
          "by the first argument",
      .example = "(get-property ?c name)",
      .prelude =
          "(bind ?c (create-object (get-class TComponent)))\n"
          "(set-property ?c Name \"Door\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> object = EvaluateArgument(fun_call, 0, context);
    const Text name = TextArgument(fun_call, 1, context);
    const Ref<IKBValue> value = ObjectsOf(context).GetProperty(*object, name);
    result = value ? value : Ref<IKBValue>(FCNil);
  }
};

class TGetPropertiesFunction final : public TBuiltinFunction<TGetPropertiesFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-properties",
      .syntax = " <TObject-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the property list of the specified TObject argument",
      .example = "(get-properties ?c)",
      .prelude = "(bind ?c (create-object (get-class TComponent)))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> object = EvaluateArgument(fun_call, 0, context);
    const Ref<IValueVector> names = NewVector();
    for (const std::string& name : ObjectsOf(context).GetPropertyNames(*object)) {
      names->Add(NewAtom(name));
    }
    result = NewList(names);
  }
};

class TSetPropertyFunction final : public TBuiltinFunction<TSetPropertyFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "set-property",
      .syntax = " <TObject-expression> <property-name> <expression>",
      .arguments = Exactly(3),
      .comment =
          "Sets the property of an object to a value.  The first argument specifies the TObject, "
          "the second argument is the property name, and the third argument is the new value.  "
          "Returns TRUE if the property was set or FALSE if the property doesn't exist",
      .example = "(set-property ?c Name \"Door\")",
      .prelude = "(bind ?c (create-object (get-class TComponent)))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> object = EvaluateArgument(fun_call, 0, context);
    const Text name = TextArgument(fun_call, 1, context);
    const Ref<IKBValue> value = EvaluateArgument(fun_call, 2, context);
    result = BooleanValue(ObjectsOf(context).SetProperty(*object, name, *value));
  }
};

class TIsClassFunction final : public TBuiltinFunction<TIsClassFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "is-class",
      .syntax = " <TObject-expression> <TClass-expression>",
      .arguments = Exactly(2),
      .comment =
          "Returns TRUE if the first TObject argument IS a descendant of the specified TClass "
          "second argument, FALSE otherwise",
      .example = "(is-class ?c (get-class TObject))",
      .prelude = "(bind ?c (create-object (get-class TComponent)))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> object = EvaluateArgument(fun_call, 0, context);
    const TClassReference* const class_reference = ClassArgument(fun_call, 1, context);
    result = BooleanValue(ObjectsOf(context).IsA(*object, class_reference));
  }
};

}  // namespace

void AddObjectFunctions(TUserFunctionList& functions) {
  functions.AddNew<TCreateComponentFunction, TCreateObjectFunction, TExecuteActionFunction,
                   TFreeObjectFunction, TGetComponentFunction, TGetComponentsFunction,
                   TGetClassFunction, TGetPropertyFunction, TGetPropertiesFunction,
                   TSetPropertyFunction, TIsClassFunction>();
}

}  // namespace reasoner
