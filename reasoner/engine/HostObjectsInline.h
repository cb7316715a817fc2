// Not for hosts: the parts of HostObjects.h that must be seen to be used.

#pragma once

#include <cmath>
#include <limits>

#include "reasoner/engine/HostObjects.h"
#include "reasoner/support/Unicode.h"

namespace reasoner {

template <class T>
bool THostClassWords<T>::SameName(std::string_view a, std::string_view b) {
  return EqualsIgnoreCase(a, b);
}

template <class T, class TBase>
THostClassWords<T> THostObjects::Register(std::string_view name) {
  std::optional<std::type_index> base;
  if constexpr (!std::is_void_v<TBase>) base = std::type_index(typeid(TBase));
  THostClass& host_class = AddClass(name, std::type_index(typeid(T)), base);
  if constexpr (!std::is_void_v<TBase>) {
    static_assert(std::is_base_of_v<TBase, T>);
    host_class.to_base = [](void* object) -> void* {
      return static_cast<TBase*>(static_cast<T*>(object));
    };
  }
  host_class.destroy = [](void* object) { delete static_cast<T*>(object); };
  if constexpr (std::is_base_of_v<TObject, T>) {
    host_class.to_object = [](void* object) -> TObject* { return static_cast<T*>(object); };
    host_class.from_object = [](TObject& object) -> void* { return dynamic_cast<T*>(&object); };
  }
  return host_class;
}

// The class of an object is that of its own type if that has a name, else that of the reference.
template <class T>
THostObjects::TGiven THostObjects::Describe(T& object) const {
  TGiven given;
  given.object = const_cast<std::remove_const_t<T>*>(&object);
  given.host_class = FindClass(std::type_index(typeid(T)));
  if constexpr (std::is_polymorphic_v<T>) {
    if (const THostClass* own = FindClass(std::type_index(typeid(object)))) {
      given.object = dynamic_cast<void*>(const_cast<std::remove_const_t<T>*>(&object));
      given.host_class = own;
    }
  }
  return given;
}

template <class T>
Ref<IKBValue> THostObjects::Lend(T& object) {
  if constexpr (std::is_base_of_v<TObject, T>) {
    return LendObject(object);
  } else {
    return NewCell(Describe(object));
  }
}

template <class T>
Ref<IKBValue> THostObjects::Share(const std::shared_ptr<T>& object) {
  if (!object) return NewObjectValue(nullptr);
  TGiven given = Describe(*object);
  given.shared = std::const_pointer_cast<std::remove_const_t<T>>(object);
  given.is_shared = true;
  return NewCell(std::move(given));
}

template <class T>
Ref<IKBValue> THostObjects::Give(std::unique_ptr<T> object) {
  if (!object) return NewObjectValue(nullptr);
  TGiven given = Describe(*object);
  if constexpr (std::is_base_of_v<TComponent, T>) {
    return NewComponentCell(*object.release(), given.host_class, true);
  } else {
    given.owned = std::shared_ptr<T>(std::move(object));
    return NewCell(std::move(given));
  }
}

template <class T>
void THostObjects::Forget(T& object) {
  if constexpr (std::is_base_of_v<TComponent, T>) {
    ComponentGone(object);
  } else {
    const TGiven given = Describe(object);
    ForgetObject(given.object, given.host_class);
  }
}

template <class T>
std::shared_ptr<T> THostObjects::Get(const IKBValue& value) const {
  const THostClass* host_class = nullptr;
  const std::shared_ptr<void> held = Hold(value, host_class);
  void* object = held.get();
  for (; object != nullptr && host_class != nullptr; host_class = host_class->base) {
    if (host_class->type == std::type_index(typeid(T)))
      return std::shared_ptr<T>(held, static_cast<T*>(object));
    if (host_class->base != nullptr) object = host_class->to_base(object);
  }
  return nullptr;
}

namespace host_values {

template <class V>
Ref<IKBValue> ToCell(THostObjects& objects, const V& value) {
  if constexpr (std::is_same_v<V, bool>) {
    return FromBoolean(value);
  } else if constexpr (std::is_integral_v<V>) {
    if constexpr (sizeof(V) >= sizeof(std::int64_t) && std::is_unsigned_v<V>) {
      return FromInteger(
          static_cast<std::int64_t>(value > V{std::numeric_limits<std::int64_t>::max()}
                                        ? V{std::numeric_limits<std::int64_t>::max()}
                                        : value));
    } else {
      return FromInteger(value);
    }
  } else if constexpr (std::is_floating_point_v<V>) {
    return NewFloat(static_cast<double>(value));
  } else if constexpr (std::is_same_v<V, Ref<IKBValue>>) {
    return value;
  } else if constexpr (kIsShared<V>) {
    return objects.Share(value);
  } else if constexpr (std::is_convertible_v<V, const TComponent*>) {
    return value == nullptr ? NewObjectValue(nullptr) : objects.Lend(*value);
  } else {
    static_assert(!std::is_enum_v<V>, "an enumeration is registered by Enumeration");
    static_assert(std::is_convertible_v<const V&, std::string_view>,
                  "properties are numbers, Booleans, texts, components, shared objects, cells");
    return NewString(std::string_view(value));
  }
}

template <class V>
V FromCell(const THostObjects& objects, const IKBValue& value) {
  if constexpr (std::is_same_v<V, bool>) {
    return ToBoolean(value);
  } else if constexpr (std::is_integral_v<V>) {
    using TLimits = std::numeric_limits<V>;
    constexpr bool kIsWide = sizeof(V) >= sizeof(std::int64_t) && std::is_unsigned_v<V>;
    return static_cast<V>(ToInteger(value, static_cast<std::int64_t>(TLimits::min()),
                                    kIsWide ? std::numeric_limits<std::int64_t>::max()
                                            : static_cast<std::int64_t>(TLimits::max())));
  } else if constexpr (std::is_floating_point_v<V>) {
    const double number = value.GetAsFloat();
    // A smaller type of floats may not hold the number; what is none, it holds.
    if (std::abs(number) > static_cast<double>(std::numeric_limits<V>::max()) &&
        !std::isinf(number)) {
      RaiseWrongObject(value);
    }
    return static_cast<V>(number);
  } else if constexpr (std::is_same_v<V, Ref<IKBValue>>) {
    return value.Clone();
  } else if constexpr (kIsShared<V>) {
    auto object = objects.Get<typename V::element_type>(value);
    if (!object && !IsNoObject(value)) RaiseWrongObject(value);
    return object;
  } else if constexpr (std::is_pointer_v<V> && std::is_convertible_v<V, const TComponent*>) {
    V object = IsNoObject(value) ? nullptr : dynamic_cast<V>(value.GetAsObject());
    if (object == nullptr && !IsNoObject(value)) RaiseWrongObject(value);
    return object;
  } else {
    static_assert(std::is_constructible_v<V, std::string>,
                  "a setter takes numbers, Booleans, std::string, components, shared objects");
    return V(value.GetAsString().str());
  }
}

}  // namespace host_values

}  // namespace reasoner
