// THostObjects: the host's classes and objects that rules can reach.
//
// A host names its classes with their properties, and gives objects to cells. Nothing is asked of
// the classes themselves:
//
// clang-format off
//   engine.GetObjects().Register<Lamp>("Lamp")
//       .Factory([] { return std::make_unique<Lamp>(); })
//       .Field("watts", &Lamp::watts)
//       .Property("on", &Lamp::IsOn, &Lamp::Switch)
//       .ReadOnly("serial", &Lamp::GetSerial);
// clang-format on
//
// Names are read without regard to case. A cell holds a handle, which is emptied when the object
// ends: it then reads as no object, and freeing it is nothing. What rules create belongs to the
// engine until rules free it, a component with an owner to that owner. What the host shares is kept
// track of by its std::shared_ptr, a component by its notifications; of any other object that it
// lends, the host says itself when it goes.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

#include "reasoner/support/Component.h"
#include "reasoner/values/KBValue.h"
#include "reasoner/values/ObjectHandle.h"

namespace reasoner {

class THostObjects;

// A registered class. Hosts fill one through THostClassWords.
struct THostClass {
  struct TProperty {
    std::string name;
    std::function<Ref<IKBValue>(THostObjects& objects, void* object)> get;
    // Empty for a property that can only be read.
    std::function<void(THostObjects& objects, void* object, const IKBValue& value)> set;
  };
  using TDestroy = void (*)(void* object);
  using TMake = std::function<void*()>;

  explicit THostClass(std::type_index type_of_class) : type(type_of_class) {}
  const std::string& GetName() const noexcept { return reference->GetClassName(); }
  bool Is(const TClassReference& other) const noexcept;
  // The property and the object as the class that has it sees it; null for an unknown name.
  const TProperty* FindProperty(std::string_view name, void*& object) const;

  const TClassReference* reference = nullptr;
  std::type_index type;
  const THostClass* base = nullptr;
  void* (*to_base)(void* object) = nullptr;
  TMake make;  // empty for a class that rules cannot create
  TDestroy destroy = nullptr;
  std::function<bool(void* object)> execute;
  std::vector<TProperty> properties;
  // For classes below TObject: the object as one, and one as an object of this class.
  TObject* (*to_object)(void* object) = nullptr;
  void* (*from_object)(TObject& object) = nullptr;
};

template <class T>
class THostClassWords;

class THostObjects {
 public:
  THostObjects();
  // What rules have created and nobody else owns ends here. All cells read as empty afterwards.
  ~THostObjects();
  THostObjects(const THostObjects&) = delete;
  THostObjects& operator=(const THostObjects&) = delete;

  // Names a class; one that is based on another names that first. Raises "Class name already
  // exists: "%s"", or "Unknown class name: %s" for the base. TObject, TPersistent and TComponent
  // have names from the start.
  template <class T, class TBase = void>
  THostClassWords<T> Register(std::string_view name);
  // The class as cells hold it, for good; null for an unknown name.
  const TClassReference* FindClass(std::string_view name) const;

  // The cell of an object. Raises "Unknown class name: %s" for a class without a name.
  // The object stays the host's.
  template <class T>
  Ref<IKBValue> Lend(T& object);
  template <class T>
  Ref<IKBValue> Share(const std::shared_ptr<T>& object);
  // Takes ownership.
  template <class T>
  Ref<IKBValue> Give(std::unique_ptr<T> object);
  // Cells of the object are empty from now on.
  template <class T>
  void Forget(T& object);
  // The object of a cell if it is a T and not gone, else null. Whoever keeps the pointer keeps an
  // object that the host does not own itself.
  template <class T>
  std::shared_ptr<T> Get(const IKBValue& value) const;

  // What the functions of the language do. A cell without a living object is no failure.
  // Raises for a class that cannot be created, or that is not registered here.
  Ref<IKBValue> Create(const TClassReference* class_reference);
  // The same with a component; without an owner it is the engine's. Raises for a class of no
  // components.
  Ref<IKBValue> CreateComponent(const TClassReference* class_reference, TComponent* owner);
  void Free(const IKBValue& value);
  Ref<IKBValue> GetProperty(const IKBValue& value, std::string_view name);  // null for unknown
  bool SetProperty(const IKBValue& value, std::string_view name, const IKBValue& property);
  std::vector<std::string> GetPropertyNames(const IKBValue& value) const;  // a base's come first
  bool IsA(const IKBValue& value, const TClassReference* class_reference) const;
  // Nothing for a class that has no action.
  std::optional<bool> Execute(const IKBValue& value) const;
  // How many objects are known; what is gone may count until it is noticed.
  std::size_t GetCount() const noexcept { return handles_.size() + components_.size(); }

 private:
  template <class T>
  friend class THostClassWords;
  class THandle;
  class TWatch;
  struct TKey {
    const void* object;
    const THostClass* host_class;
    bool operator==(const TKey&) const = default;
  };
  struct TKeyHash {
    std::size_t operator()(const TKey& key) const noexcept {
      return std::hash<const void*>{}(key.object) * 31 + std::hash<const void*>{}(key.host_class);
    }
  };
  // An object that is to come into a cell.
  struct TGiven {
    void* object = nullptr;  // as its class sees it
    const THostClass* host_class = nullptr;
    std::shared_ptr<void> owned;
    std::weak_ptr<void> shared;
    bool is_shared = false;
  };

  THostClass& AddClass(std::string_view name, std::type_index type, std::optional<std::type_index>);
  const THostClass* FindClass(std::type_index type) const;
  const THostClass* FindClass(const TClassReference* reference) const;
  const THostClass& NeedClass(const TClassReference* reference) const;
  const THostClass* FindClassOf(TObject& object) const;
  Ref<IKBValue> NewCell(TGiven given);
  // `made` says that rules may end the component.
  Ref<IKBValue> NewComponentCell(TComponent& component, const THostClass* host_class, bool made);
  Ref<IKBValue> LendObject(TObject& object);
  void ForgetObject(const void* object, const THostClass* host_class);
  void ComponentGone(TComponent& component);
  void Sweep();
  // The object behind a cell, kept meanwhile, as its class sees it; null where there is none.
  std::shared_ptr<void> Hold(const IKBValue& value, const THostClass*& host_class) const;
  template <class T>
  TGiven Describe(T& object) const;

  // From names in lower case.
  std::unordered_map<std::string, std::unique_ptr<THostClass>> classes_;
  std::unordered_map<std::type_index, const THostClass*> by_type_;
  std::unordered_map<const TClassReference*, const THostClass*> by_reference_;
  std::unordered_map<TKey, Ref<THandle>, TKeyHash> handles_;
  std::unordered_map<const TComponent*, Ref<THandle>> components_;
  std::size_t sweep_at_ = 64;
  std::unique_ptr<TWatch> watch_;
};

// The properties of C++ as cells and back.
namespace host_values {

template <class V>
inline constexpr bool kIsShared = false;
template <class U>
inline constexpr bool kIsShared<std::shared_ptr<U>> = true;

Ref<IKBValue> FromBoolean(bool value);
Ref<IKBValue> FromInteger(std::int64_t value);
bool ToBoolean(const IKBValue& value);
// Raises for a number beyond the bounds.
std::int64_t ToInteger(const IKBValue& value, std::int64_t min, std::int64_t max);
[[noreturn]] void RaiseWrongObject(const IKBValue& value);
bool IsNoObject(const IKBValue& value);
std::int32_t ToOrdinal(const IKBValue& value, const std::vector<std::string>& names);

template <class V>
Ref<IKBValue> ToCell(THostObjects& objects, const V& value);
template <class V>
V FromCell(const THostObjects& objects, const IKBValue& value);

}  // namespace host_values

// Describes a class; each operation gives the description back, so that they can be chained. Names
// of properties are unique without regard to case; a later one of the same name wins.
template <class T>
class THostClassWords {
 public:
  THostClassWords(THostClass& host_class) : class_(host_class) {}  // NOLINT: made by Register

  // Makes an object: gives std::unique_ptr<T>.
  template <class TFactory>
  THostClassWords& Factory(TFactory factory) {
    class_.make = [factory]() -> void* {
      std::unique_ptr<T> made = factory();
      return made.release();
    };
    return *this;
  }
  // What `execute-action` runs: a callable of T& that gives whether something was done.
  template <class TAction>
  THostClassWords& Action(TAction action) {
    class_.execute = [action](void* object) {
      return static_cast<bool>(std::invoke(action, *static_cast<T*>(object)));
    };
    return *this;
  }
  // The getter is a callable of T&; the setter one of T& and the value. Values are integers,
  // floats, Booleans, texts, components by pointer, objects by std::shared_ptr, and cells.
  template <class TGetter, class TSetter>
  THostClassWords& Property(std::string_view name, TGetter getter, TSetter setter) {
    using V = std::decay_t<std::invoke_result_t<TGetter&, T&>>;
    ReadOnly(name, getter);
    class_.properties.back().set = [setter](THostObjects& objects, void* object,
                                            const IKBValue& value) {
      std::invoke(setter, *static_cast<T*>(object), host_values::FromCell<V>(objects, value));
    };
    return *this;
  }
  template <class TGetter>
  THostClassWords& ReadOnly(std::string_view name, TGetter getter) {
    using V = std::decay_t<std::invoke_result_t<TGetter&, T&>>;
    std::erase_if(class_.properties, [name](const THostClass::TProperty& other) {
      return SameName(other.name, name);
    });
    class_.properties.push_back({std::string(name),
                                 [getter](THostObjects& objects, void* object) {
                                   return host_values::ToCell<V>(
                                       objects, std::invoke(getter, *static_cast<T*>(object)));
                                 },
                                 nullptr});
    return *this;
  }
  // A data member.
  template <class V, class TOwner>
  THostClassWords& Field(std::string_view name, V TOwner::*member) {
    return Property(
        name, [member](T& object) -> V { return object.*member; },
        [member](T& object, V value) { object.*member = std::move(value); });
  }
  // Read as its ordinal; set by ordinal or by name. Ordinals count from 0 in the order of the
  // names.
  template <class TGetter, class TSetter>
  THostClassWords& Enumeration(std::string_view name, std::vector<std::string> names,
                               TGetter getter, TSetter setter) {
    using V = std::decay_t<std::invoke_result_t<TGetter&, T&>>;
    ReadOnly(name, [getter](T& object) {
      return static_cast<std::int64_t>(std::invoke(getter, object));
    });
    class_.properties.back().set = [setter, names = std::move(names)](THostObjects&, void* object,
                                                                      const IKBValue& value) {
      std::invoke(setter, *static_cast<T*>(object),
                  static_cast<V>(host_values::ToOrdinal(value, names)));
    };
    return *this;
  }

 private:
  static bool SameName(std::string_view a, std::string_view b);

  THostClass& class_;
};

}  // namespace reasoner

#include "reasoner/engine/HostObjectsInline.h"
