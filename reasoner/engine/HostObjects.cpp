#include "reasoner/engine/HostObjects.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "reasoner/support/Numbers.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// Cells may outlive every engine, so the names that they refer to stay for good: one a name.
static const TClassReference* InternClass(std::string_view name) {
  static std::mutex mutex;
  static auto* const table = new std::map<std::string, TClassReference, std::less<>>;
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found = table->find(name);
  if (found != table->end()) return &found->second;
  return &table->try_emplace(std::string(name), std::string(name)).first->second;
}

bool THostClass::Is(const TClassReference& other) const noexcept {
  for (const THostClass* host_class = this; host_class != nullptr; host_class = host_class->base) {
    if (host_class->reference == &other) return true;
  }
  return false;
}

const THostClass::TProperty* THostClass::FindProperty(std::string_view name, void*& object) const {
  for (const THostClass* host_class = this; host_class != nullptr; host_class = host_class->base) {
    for (const TProperty& property : host_class->properties) {
      if (EqualsIgnoreCase(property.name, name)) return &property;
    }
    if (host_class->base != nullptr) object = host_class->to_base(object);
  }
  return nullptr;
}

class THostObjects::THandle final : public TObjectHandle {
 public:
  THandle(const THostClass& handled_class, void* handled)
      : host_class(&handled_class), reference(*handled_class.reference), object(handled) {}

  const TClassReference& GetClass() const noexcept override { return reference; }
  bool IsGone() const noexcept override {
    return object == nullptr || (is_shared && shared.expired());
  }
  TObject* GetObject() const noexcept override {
    return IsGone() || host_class->to_object == nullptr ? nullptr : host_class->to_object(object);
  }

  const THostClass* host_class;  // lives as long as the object is not gone
  const TClassReference& reference;
  void* object;  // null when it is gone
  std::shared_ptr<void> owned;
  std::weak_ptr<void> shared;
  bool is_shared = false;
  TComponent* component = nullptr;
  bool made = false;  // a component that rules have created, and may end
};

// Hears of the end of components.
class THostObjects::TWatch final : public TComponent {
 public:
  explicit TWatch(THostObjects& objects) : objects_(objects) {}

  void Notification(TComponent& component, TOperation operation) override {
    TComponent::Notification(component, operation);
    if (operation == opRemove) objects_.ComponentGone(component);
  }

 private:
  THostObjects& objects_;
};

THostObjects::THostObjects() : watch_(std::make_unique<TWatch>(*this)) {
  Register<TObject>("TObject");
  Register<TPersistent, TObject>("TPersistent");
  Register<TComponent, TPersistent>("TComponent")
      .Factory([] { return std::make_unique<TComponent>(); })
      .Property(
          "Name", [](TComponent& component) { return component.GetName(); },
          [](TComponent& component, std::string name) { component.SetName(std::move(name)); });
}

THostObjects::~THostObjects() {
  watch_.reset();
  // The handles first: what ends below may look at cells.
  std::vector<std::shared_ptr<void>> owned;
  for (const auto& entry : handles_) {
    entry.second->object = nullptr;
    if (entry.second->owned) owned.push_back(std::move(entry.second->owned));
  }
  std::vector<TComponent*> orphans;
  for (const auto& [component, handle] : components_) {
    handle->object = nullptr;
    if (handle->made && component->GetOwner() == nullptr) orphans.push_back(handle->component);
  }
  handles_.clear();
  components_.clear();
  owned.clear();
  for (TComponent* component : orphans) delete component;
}

// Classes.

THostClass& THostObjects::AddClass(std::string_view name, std::type_index type,
                                   std::optional<std::type_index> base) {
  std::string key = AsciiLower(name);
  if (name.empty()) Raise(SUnknownKBClassName, name);
  if (classes_.count(key) != 0) Raise(SDuplicateClassNames, name);
  auto made = std::make_unique<THostClass>(type);
  made->reference = InternClass(name);
  if (base) {
    made->base = FindClass(*base);
    if (made->base == nullptr) Raise(SUnknownKBClassName, base->name());
  }
  THostClass& host_class = *made;
  by_type_.emplace(type, &host_class);
  by_reference_[host_class.reference] = &host_class;
  classes_.emplace(std::move(key), std::move(made));
  return host_class;
}

const TClassReference* THostObjects::FindClass(std::string_view name) const {
  const auto found = classes_.find(AsciiLower(name));
  return found == classes_.end() ? nullptr : found->second->reference;
}

const THostClass* THostObjects::FindClass(std::type_index type) const {
  const auto found = by_type_.find(type);
  return found == by_type_.end() ? nullptr : found->second;
}

const THostClass* THostObjects::FindClass(const TClassReference* reference) const {
  const auto found = by_reference_.find(reference);
  return found == by_reference_.end() ? nullptr : found->second;
}

const THostClass& THostObjects::NeedClass(const TClassReference* reference) const {
  const THostClass* host_class = FindClass(reference);
  if (host_class == nullptr || !host_class->make) {
    Raise(SUnknownKBClassName,
          reference == nullptr ? std::string_view() : std::string_view(reference->GetClassName()));
  }
  return *host_class;
}

// The class of its own type, or the one furthest from the root among those that it is a kind of.
const THostClass* THostObjects::FindClassOf(TObject& object) const {
  if (const THostClass* own = FindClass(std::type_index(typeid(object)))) return own;
  const THostClass* nearest = nullptr;
  std::int32_t nearest_depth = 0;
  for (const auto& entry : classes_) {
    const THostClass* const host_class = entry.second.get();
    if (host_class->from_object == nullptr || host_class->from_object(object) == nullptr) continue;
    std::int32_t depth = 0;
    for (const THostClass* base = host_class; base != nullptr; base = base->base) ++depth;
    const bool is_nearer = depth > nearest_depth ||
                           (depth == nearest_depth && host_class->GetName() < nearest->GetName());
    if (!is_nearer) continue;
    nearest = host_class;
    nearest_depth = depth;
  }
  return nearest;
}

// Handles.

Ref<IKBValue> THostObjects::NewCell(TGiven given) {
  if (given.host_class == nullptr) Raise(SUnknownKBClassName, "");
  Sweep();
  Ref<THandle>& handle = handles_[TKey{given.object, given.host_class}];
  // At the place of one that is gone there may be another object by now.
  if (!handle || handle->IsGone()) handle = Make<THandle>(*given.host_class, given.object);
  if (given.owned) handle->owned = std::move(given.owned);
  if (given.is_shared && !handle->owned) {
    handle->shared = given.shared;
    handle->is_shared = true;
  }
  return NewObjectValue(handle);
}

Ref<IKBValue> THostObjects::NewComponentCell(TComponent& component, const THostClass* host_class,
                                             bool made) {
  if (host_class == nullptr) host_class = FindClassOf(component);
  Ref<THandle>& handle = components_[&component];
  if (!handle) {
    handle = Make<THandle>(*host_class, host_class->from_object(component));
    handle->component = &component;
    component.FreeNotification(*watch_);
  }
  handle->made = handle->made || made;
  return NewObjectValue(handle);
}

Ref<IKBValue> THostObjects::LendObject(TObject& object) {
  if (auto* component = dynamic_cast<TComponent*>(&object))
    return NewComponentCell(*component, nullptr, false);
  TGiven given;
  given.host_class = FindClassOf(object);
  given.object = given.host_class->from_object(object);
  return NewCell(std::move(given));
}

void THostObjects::ForgetObject(const void* object, const THostClass* host_class) {
  const auto found = handles_.find(TKey{object, host_class});
  if (found == handles_.end()) return;
  const Ref<THandle> handle = found->second;
  handles_.erase(found);
  handle->object = nullptr;
  const std::shared_ptr<void> owned = std::move(handle->owned);  // ends when all is in order
}

void THostObjects::ComponentGone(TComponent& component) {
  const auto found = components_.find(&component);
  if (found == components_.end()) return;
  const Ref<THandle> handle = found->second;
  components_.erase(found);
  handle->object = nullptr;
}

// Drops the handles of shared objects that are gone, each time that there are twice as many as the
// last time left over.
void THostObjects::Sweep() {
  if (handles_.size() < sweep_at_) return;
  for (auto entry = handles_.begin(); entry != handles_.end();) {
    entry = entry->second->IsGone() ? handles_.erase(entry) : std::next(entry);
  }
  sweep_at_ = std::max<std::size_t>(64, handles_.size() * 2);
}

std::shared_ptr<void> THostObjects::Hold(const IKBValue& value,
                                         const THostClass*& host_class) const {
  if (host_values::IsNoObject(value)) return nullptr;
  if (const auto* handle = dynamic_cast<THandle*>(value.GetAsHandle())) {
    host_class = handle->host_class;
    if (handle->IsGone()) return nullptr;
    if (handle->owned) return handle->owned;
    if (handle->is_shared) return std::shared_ptr<void>(handle->shared.lock(), handle->object);
    return std::shared_ptr<void>(std::shared_ptr<void>(), handle->object);
  }
  TObject* const object = value.GetAsObject();
  host_class = object == nullptr ? nullptr : FindClassOf(*object);
  if (host_class == nullptr) return nullptr;
  return std::shared_ptr<void>(std::shared_ptr<void>(), host_class->from_object(*object));
}

// What the language does.

Ref<IKBValue> THostObjects::Create(const TClassReference* class_reference) {
  const THostClass& host_class = NeedClass(class_reference);
  void* const object = host_class.make();
  if (object == nullptr) return NewObjectValue(nullptr);
  TObject* const as_object =
      host_class.to_object == nullptr ? nullptr : host_class.to_object(object);
  // A component is known by its notifications, whoever may end it.
  if (auto* component = dynamic_cast<TComponent*>(as_object))
    return NewComponentCell(*component, &host_class, true);
  return NewCell(
      {object, &host_class, std::shared_ptr<void>(object, host_class.destroy), {}, false});
}

Ref<IKBValue> THostObjects::CreateComponent(const TClassReference* class_reference,
                                            TComponent* owner) {
  const THostClass& host_class = NeedClass(class_reference);
  const THostClass* const component_class = FindClass(std::type_index(typeid(TComponent)));
  if (!host_class.Is(*component_class->reference)) Raise(SMissingComponent, "create-component");
  const Ref<IKBValue> value = Create(class_reference);
  auto* component = dynamic_cast<TComponent*>(value->GetAsObject());
  if (component != nullptr && owner != nullptr && component->GetOwner() != owner) {
    owner->InsertComponent(*component);
  }
  return value;
}

void THostObjects::Free(const IKBValue& value) {
  if (host_values::IsNoObject(value)) return;
  const Ref<THandle> handle(dynamic_cast<THandle*>(value.GetAsHandle()));
  if (!handle || handle->object == nullptr) return;
  if (handle->component == nullptr) return ForgetObject(handle->object, handle->host_class);
  TComponent* const component = handle->component;
  ComponentGone(*component);
  if (handle->made) delete component;
}

Ref<IKBValue> THostObjects::GetProperty(const IKBValue& value, std::string_view name) {
  const THostClass* host_class = nullptr;
  const std::shared_ptr<void> held = Hold(value, host_class);
  void* object = held.get();
  if (object == nullptr) return nullptr;
  const THostClass::TProperty* property = host_class->FindProperty(name, object);
  return property == nullptr ? nullptr : property->get(*this, object);
}

bool THostObjects::SetProperty(const IKBValue& value, std::string_view name,
                               const IKBValue& property_value) {
  const THostClass* host_class = nullptr;
  const std::shared_ptr<void> held = Hold(value, host_class);
  void* object = held.get();
  if (object == nullptr) return false;
  const THostClass::TProperty* property = host_class->FindProperty(name, object);
  if (property == nullptr || !property->set) return false;
  property->set(*this, object, property_value);
  return true;
}

std::vector<std::string> THostObjects::GetPropertyNames(const IKBValue& value) const {
  const THostClass* host_class = nullptr;
  if (Hold(value, host_class) == nullptr) return {};
  std::vector<const THostClass*> chain;
  for (; host_class != nullptr; host_class = host_class->base) chain.push_back(host_class);
  std::vector<std::string> names;
  for (auto link = chain.rbegin(); link != chain.rend(); ++link) {
    for (const THostClass::TProperty& property : (*link)->properties) {
      const auto is_same = [&property](const std::string& name) {
        return EqualsIgnoreCase(name, property.name);
      };
      if (std::none_of(names.begin(), names.end(), is_same)) names.push_back(property.name);
    }
  }
  return names;
}

bool THostObjects::IsA(const IKBValue& value, const TClassReference* class_reference) const {
  const THostClass* host_class = nullptr;
  if (class_reference == nullptr || Hold(value, host_class) == nullptr) return false;
  return host_class->Is(*class_reference);
}

std::optional<bool> THostObjects::Execute(const IKBValue& value) const {
  const THostClass* host_class = nullptr;
  const std::shared_ptr<void> held = Hold(value, host_class);
  void* object = held.get();
  if (object == nullptr) return false;
  for (; host_class != nullptr; host_class = host_class->base) {
    if (host_class->execute) return host_class->execute(object);
    if (host_class->base != nullptr) object = host_class->to_base(object);
  }
  return std::nullopt;
}

// Values.

namespace host_values {

Ref<IKBValue> FromBoolean(bool value) { return BooleanValue(value); }

Ref<IKBValue> FromInteger(std::int64_t value) {
  constexpr std::int64_t kMin = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  if (value < kMin || value > kMax) Raise(SIntegerOverflow, "get-property", IntegerToText(value));
  return NewInteger(static_cast<std::int32_t>(value));
}

bool ToBoolean(const IKBValue& value) {
  if (value.Equals(*FCTrue)) return true;
  if (value.Equals(*FCFalse)) return false;
  if (!KBNumericTypes.Has(value.GetDType())) Raise(SInvalidValueType);
  return value.GetAsNumeric() != 0;
}

std::int64_t ToInteger(const IKBValue& value, std::int64_t min, std::int64_t max) {
  const std::int64_t integer = value.GetAsInteger();
  if (integer < min || integer > max)
    Raise(SInvalidArgument, "set-property", IntegerToText(integer));
  return integer;
}

void RaiseWrongObject(const IKBValue& value) {
  Raise(SInvalidArgument, "set-property", value.ToString());
}

// `nil`, or a cell that holds no object or one that is gone. Other kinds of cells are told by what
// reads them.
bool IsNoObject(const IKBValue& value) {
  if (value.IsNilLike()) return true;
  if (value.GetDType() != dtObject) return false;
  const TObjectHandle* const handle = value.GetAsHandle();
  return handle == nullptr ? value.GetAsObject() == nullptr : handle->IsGone();
}

std::int32_t ToOrdinal(const IKBValue& value, const std::vector<std::string>& names) {
  if (KBStringTypes.Has(value.GetDType())) {
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (EqualsIgnoreCase(names[i], value.TextView())) return static_cast<std::int32_t>(i);
    }
    if (!TextToInteger(value.TextView())) RaiseWrongObject(value);
  }
  return static_cast<std::int32_t>(
      ToInteger(value, 0, static_cast<std::int64_t>(names.size()) - 1));
}

}  // namespace host_values

}  // namespace reasoner
