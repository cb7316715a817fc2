#include "reasoner/values/KBValue.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "reasoner/support/Component.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/BindingInfo.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/values/ObjectHandle.h"
#include "reasoner/values/SingletonsVector.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// Hears for a cell that the component it owns has been ended elsewhere.
class TKBValueNexus final : public TComponent {
 public:
  explicit TKBValueNexus(TKBValue& value) : value_(value) {}

  void Notification(TComponent& component, TOperation operation) override;

 private:
  TKBValue& value_;  // owns this nexus
};

// An owned object lies behind one more pointer: it is rare, and a cell has no room for the nexus.
struct TKBValue::OwnedObject {
  TObject* object = nullptr;
  std::unique_ptr<TKBValueNexus> nexus;  // while the object is a component

  ~OwnedObject() {
    nexus.reset();
    const auto* component = dynamic_cast<const TComponent*>(object);
    if (component == nullptr || !component->IsDestroying()) delete object;
  }
};

void TKBValueNexus::Notification(TComponent& component, TOperation operation) {
  TComponent::Notification(component, operation);
  if (operation == opRemove && value_.IsOwningObject() &&
      value_.payload_.owned->object == &component)
    value_.Drop();
}

static bool FitsInteger(std::int64_t value) { return std::in_range<std::int32_t>(value); }

TKBValue::TKBValue(std::int64_t value, TKBType type) {
  if (!KBIntegerTypes.Has(type) || (type != dtFactId && !FitsInteger(value)))
    Raise(SInvalidValueType);
  payload_.integer = value;
  type_ = type;
}

TKBValue::TKBValue(const Text& text, TKBType type) {
  if (!HoldsText(type)) Raise(SInvalidValueType);
  new (&payload_.text) Text(text);
  type_ = type;
}

TKBValue::TKBValue(double value) noexcept {
  payload_.number = value;
  type_ = dtFloat;
}

TKBValue::TKBValue(Ref<IValueVector> list) {
  new (&payload_.shared) Ref<ICloneable>(list ? std::move(list) : NewVector());
  type_ = dtList;
}

TKBValue::TKBValue(const TClassReference* class_reference) noexcept {
  payload_.class_reference = class_reference;
  type_ = dtClass;
}

TKBValue::~TKBValue() {
  listener_ = nullptr;
  Drop();
}

Ref<IKBValue> NewFuzzy(const Ref<IFuzzySet>& set) {
  Ref<IKBValue> value = Make<TKBValue>();
  value->SetAsFuzzy(set);
  return value;
}

Ref<IKBValue> NewObjectValue(const Ref<TObjectHandle>& handle) {
  Ref<IKBValue> value = Make<TKBValue>();
  value->SetAsHandle(handle);
  return value;
}

std::uint32_t TObjectHandle::GetHashCode() const {
  return static_cast<std::uint32_t>(std::bit_cast<std::uintptr_t>(this));
}

std::string TObjectHandle::ToString() const {
  return "<Object: " + GetClass().GetClassName() + ">";
}

Ref<IKBValue> NewList(const Ref<IValueVector>& list) { return Make<TKBValue>(list); }

void TKBValue::RaiseNotA(std::string_view wanted) const {
  Raise(SNotCorrectType, wanted, ToString(), GetKBTypeName(type_));
}

Text TKBValue::GetAsString() const {
  if (HoldsText(type_)) return payload_.text;
  if (type_ == dtInteger) return IntegerToText(payload_.integer);
  if (type_ == dtFloat) return FloatToText(payload_.number);
  if (type_ == dtFuzzy) return GetAsFuzzy()->ToString();
  RaiseNotA("string");
}

std::int32_t TKBValue::GetAsInteger() const {
  switch (type_) {
    case dtInteger:
    case dtDescriptor:
      return RawInteger();
    case dtFactId:
      if (!FitsInteger(payload_.integer)) RaiseNotA("integer");
      return RawInteger();
    case dtExternalAddress: {
      const auto number = std::bit_cast<std::uintptr_t>(payload_.address);
      if (number > std::numeric_limits<std::int32_t>::max()) RaiseNotA("integer");
      return static_cast<std::int32_t>(number);
    }
    case dtFloat:
      if (const auto truncated = TruncateToInteger(payload_.number)) return *truncated;
      RaiseNotA("integer");
    case dtAtom:
    case dtString:
      if (const auto integer = TextToInteger(payload_.text)) return *integer;
      if (const auto number = TextToFloat(payload_.text)) {
        if (const auto truncated = TruncateToInteger(*number)) return *truncated;
      }
      RaiseNotA("integer");
    case dtFuzzy:
      if (const auto rounded = RoundToInteger(GetAsFuzzy()->GetCrisp())) return *rounded;
      RaiseNotA("integer");
    default:
      RaiseNotA("integer");
  }
}

double TKBValue::GetAsNumeric() const {
  switch (type_) {
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
      return static_cast<double>(payload_.integer);
    case dtFloat:
      return payload_.number;
    case dtAtom:
    case dtString:
      if (this == FCNil.get()) return 0.0;
      if (const auto number = TextToFloat(payload_.text)) return *number;
      RaiseNotA("numeric");
    case dtFuzzy:
      return GetAsFuzzy()->GetCrisp();
    default:
      RaiseNotA("numeric");
  }
}

// An id that is written as a number beyond 32 bits is read as a float.
TFactId TKBValue::GetAsFactId() const {
  if (type_ == dtInteger || type_ == dtFactId) return payload_.integer;
  constexpr double kLimit = 9007199254740992.0;  // from here on not every integer is a float
  if (type_ == dtFloat && std::abs(payload_.number) < kLimit)
    return static_cast<TFactId>(payload_.number);
  RaiseNotA("fact id");
}

std::int32_t TKBValue::GetAsDescriptor() const {
  if (type_ != dtDescriptor) RaiseNotA("descriptor");
  return RawInteger();
}

const void* TKBValue::GetAsExternalAddress() const {
  if (type_ == dtExternalAddress) return payload_.address;
  if (type_ == dtObject) return GetAsObject();
  RaiseNotA("External Address");
}

IValueVector* TKBValue::GetAsList() const {
  return static_cast<IValueVector*>(SharedOf(dtList, "list"));
}

ISingletonsVector* TKBValue::GetAsSingletons() const {
  return static_cast<ISingletonsVector*>(SharedOf(dtSingletons, "singletons"));
}

IFuzzySet* TKBValue::GetAsFuzzy() const {
  return static_cast<IFuzzySet*>(SharedOf(dtFuzzy, "fuzzy value"));
}

TObject* TKBValue::GetAsObject() const {
  if (type_ != dtObject) RaiseNotA("object");
  if (const TObjectHandle* handle = GetAsHandle()) return handle->GetObject();
  return IsOwningObject() ? payload_.owned->object : payload_.object;
}

const TClassReference* TKBValue::GetAsClass() const {
  if (type_ != dtClass) RaiseNotA("class");
  return payload_.class_reference;
}

TObjectHandle* TKBValue::GetAsHandle() const {
  if (type_ != dtObject) RaiseNotA("object");
  return HoldsHandle() ? static_cast<TObjectHandle*>(payload_.shared.get()) : nullptr;
}

bool TKBValue::IsOwningObject() const noexcept {
  return type_ == dtObject && (flags_ & kOwnsObject) != 0;
}

bool TKBValue::IsNilLike() const noexcept {
  return this == FCNil.get() || (flags_ & kNilClone) != 0;
}

void TKBValue::MakeConstant() noexcept {
  flags_ |= kConstant;
  MakeImmortal();
}

void TKBValue::CheckChangeable() const {
  if ((flags_ & (kConstant | kFrozen)) == 0) return;
  if (IsConstant()) Raise(SSharedConstant, ToString());
  Raise(SListedValue, ToString());
}

void TKBValue::FreezeContent() {
  flags_ |= kFrozen;
  if (HoldsShared(type_) && payload_.shared) payload_.shared->Freeze();
}

void TKBValue::Drop() noexcept {
  const TKBType old = type_;
  const bool owned = IsOwningObject();
  const bool shared = HoldsReference();
  type_ = dtNone;
  flags_ &= kConstant | kFrozen;
  if (HoldsText(old)) {
    payload_.text.~Text();
  } else if (shared) {
    // The reference leaves the cell first: what it ends may come back to this cell.
    const Ref<ICloneable> held = std::move(payload_.shared);
    payload_.shared.~Ref();
    payload_.address = nullptr;
  } else if (owned) {
    const std::unique_ptr<OwnedObject> held(payload_.owned);
    payload_.address = nullptr;
  }
  payload_.address = nullptr;
}

void TKBValue::Changed() {
  if (listener_ == nullptr) return;
  const Ref<IKBValue> self(this);  // the listener may drop the last reference
  listener_->ValueChanged(self);
}

void TKBValue::SetText(const Text& text, TKBType type) {
  CheckChangeable();
  Text kept = text;  // may be this cell's own
  Drop();
  new (&payload_.text) Text(std::move(kept));
  type_ = type;
  Changed();
}

void TKBValue::SetInteger(std::int64_t value, TKBType type) {
  CheckChangeable();
  Drop();
  payload_.integer = value;
  type_ = type;
  Changed();
}

void TKBValue::SetAsFloat(double value) {
  CheckChangeable();
  Drop();
  payload_.number = value;
  type_ = dtFloat;
  Changed();
}

void TKBValue::SetAsExternalAddress(const void* address) {
  CheckChangeable();
  Drop();
  payload_.address = address;
  type_ = dtExternalAddress;
  Changed();
}

void TKBValue::SetShared(Ref<ICloneable> object, TKBType type) {
  CheckChangeable();
  Drop();
  new (&payload_.shared) Ref<ICloneable>(std::move(object));
  type_ = type;
  Changed();
}

void TKBValue::SetAsList(const Ref<IValueVector>& list) {
  SetShared(list ? list : NewVector(), dtList);
}

void TKBValue::SetAsSingletons(const Ref<ISingletonsVector>& singletons) {
  SetShared(singletons, dtSingletons);
}

void TKBValue::SetAsFuzzy(const Ref<IFuzzySet>& set) {
  if (!set) Raise(SInvalidFuzzyValue);
  SetShared(set, dtFuzzy);
}

void TKBValue::SetAsObject(TObject* object) {
  CheckChangeable();
  Drop();
  payload_.object = object;
  type_ = dtObject;
  Changed();
}

void TKBValue::SetAsOwnedObject(TObject* object) {
  CheckChangeable();
  if (IsOwningObject() && payload_.owned->object == object) return;
  if (object == nullptr) return SetAsObject(nullptr);
  auto owned = std::make_unique<OwnedObject>();
  owned->object = object;
  if (auto* component = dynamic_cast<TComponent*>(object)) {
    owned->nexus = std::make_unique<TKBValueNexus>(*this);
    component->FreeNotification(*owned->nexus);
  }
  Drop();
  payload_.owned = owned.release();
  type_ = dtObject;
  flags_ |= kOwnsObject;
  Changed();
}

void TKBValue::SetAsHandle(const Ref<TObjectHandle>& handle) {
  if (!handle) return SetAsObject(nullptr);
  CheckChangeable();
  const Ref<TObjectHandle> kept = handle;  // may be this cell's own
  Drop();
  new (&payload_.shared) Ref<ICloneable>(kept);
  type_ = dtObject;
  flags_ |= kHoldsHandle;
  Changed();
}

void TKBValue::SetAsClass(const TClassReference* class_reference) {
  CheckChangeable();
  Drop();
  payload_.class_reference = class_reference;
  type_ = dtClass;
  Changed();
}

void TKBValue::Reset() {
  CheckChangeable();
  Drop();
}

// A new object of the class of `source`, with its content.
static TObject* CopyOwnedObject(const TObject& source) {
  const auto* persistent = dynamic_cast<const TPersistent*>(&source);
  std::unique_ptr<TPersistent> copy = persistent == nullptr ? nullptr : persistent->NewInstance();
  if (copy == nullptr) Raise(SUncloneableValue, source.ClassName());
  copy->Assign(*persistent);
  if (const auto* component = dynamic_cast<const TComponent*>(&source); component != nullptr) {
    if (component->GetOwner() != nullptr)
      component->GetOwner()->InsertComponent(dynamic_cast<TComponent&>(*copy));
  }
  return copy.release();
}

void TKBValue::CopyPayload(const TKBValue& source, bool own_list) {
  const TKBType type = source.type_;
  if (HoldsText(type)) {
    Text text = source.payload_.text;
    Drop();
    new (&payload_.text) Text(std::move(text));
  } else if (source.HoldsReference()) {
    const bool is_handle = source.HoldsHandle();
    Ref<ICloneable> shared = source.payload_.shared;
    if (type == dtList && own_list) shared = static_cast<const TValueVector&>(*shared).Clone();
    Drop();
    new (&payload_.shared) Ref<ICloneable>(std::move(shared));
    if (is_handle) flags_ |= kHoldsHandle;
  } else if (source.IsOwningObject()) {
    std::unique_ptr<TObject> copy(CopyOwnedObject(*source.payload_.owned->object));
    SetAsOwnedObject(copy.get());
    copy.release();
    return;
  } else {
    switch (type) {
      case dtInteger:
      case dtFactId:
      case dtDescriptor: {
        const std::int64_t integer = source.payload_.integer;
        Drop();
        payload_.integer = integer;
        break;
      }
      case dtFloat: {
        const double number = source.payload_.number;
        Drop();
        payload_.number = number;
        break;
      }
      default: {
        const void* address = type == dtNone ? nullptr : source.payload_.address;
        Drop();
        payload_.address = address;
      }
    }
  }
  type_ = type;
}

// Keeps a cell's listener off for a scope: a copy is one change, whatever it does on its way.
class ScopedSilence {
 public:
  explicit ScopedSilence(TKBValue& value) : value_(value), listener_(value.GetOnChange()) {
    value.SetOnChange(nullptr);
  }
  ~ScopedSilence() { value_.SetOnChange(listener_); }
  ScopedSilence(const ScopedSilence&) = delete;
  ScopedSilence& operator=(const ScopedSilence&) = delete;

 private:
  TKBValue& value_;
  IKBValueListener* listener_;
};

void TKBValue::Assign(const TKBValue& source) {
  if (&source == this) return;
  CheckChangeable();
  const auto tag = source.tag_;  // the source may end with the content that goes
  {
    const ScopedSilence silence(*this);
    CopyPayload(source, false);
  }
  tag_ = tag;
  Changed();
}

void TKBValue::AssignCopy(const TKBValue& source) {
  if (&source == this) return;
  CheckChangeable();
  const auto tag = source.tag_;  // the source may end with the content that goes
  {
    const ScopedSilence silence(*this);
    CopyPayload(source, true);
  }
  tag_ = tag;
  Changed();
}

Ref<IKBValue> TKBValue::Clone() const {
  Ref<IKBValue> clone = Make<TKBValue>();
  clone->CopyPayload(*this, false);
  clone->tag_ = tag_;
  if (IsNilLike()) clone->flags_ |= kNilClone;
  return clone;
}

static bool SameObject(const ICloneable* a, const ICloneable* b) {
  if (a == b) return true;
  return a != nullptr && b != nullptr && a->Equals(*b);
}

static bool SameNumber(double a, double b) { return a == b || (a != a && b != b); }

bool TKBValue::Equals(const TKBValue& other) const {
  if (this == &other) return true;
  if (type_ != other.type_ && type_ != dtFuzzy) {
    return other.type_ == dtFuzzy && other.EqualsByType(*this);
  }
  return EqualsByType(other);
}

bool TKBValue::EqualsStar(const TKBValue& other) const {
  if (type_ == dtFunCall && other.type_ != dtFunCall) return false;
  if (type_ != dtFuzzy && other.type_ == dtFuzzy) return other.EqualsByType(*this);
  return EqualsByType(other);
}

static bool IsNumber(TKBType type) { return KBIntegerTypes.Has(type) || type == dtFloat; }

bool TKBValue::EqualsInValue(const TKBValue& other) const {
  if (this == &other) return true;
  if (type_ == dtFuzzy) return EqualsByType(other);
  if (other.type_ == dtFuzzy) return other.EqualsByType(*this);
  if (IsNumber(type_) || IsNumber(other.type_)) {
    if (type_ == other.type_) return EqualsByType(other);
    const auto number_of = [](const TKBValue& value) {
      if (IsNumber(value.type_)) return std::optional<double>(value.GetAsNumeric());
      return HoldsText(value.type_) ? TextToFloat(value.TextView()) : std::nullopt;
    };
    const std::optional<double> a = number_of(*this);
    const std::optional<double> b = number_of(other);
    return a && b && SameNumber(*a, *b);
  }
  if (type_ == dtList && other.type_ == dtList) {
    const DepthGuard guard("value");
    const IValueVector& a = *GetAsList();
    const IValueVector& b = *other.GetAsList();
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Ref<IKBValue>& x, const Ref<IKBValue>& y) {
                        return x == y || (x && y && x->EqualsInValue(*y));
                      });
  }
  if (type_ != other.type_ && !(HoldsText(type_) && HoldsText(other.type_))) return false;
  return EqualsByType(other);
}

bool TKBValue::EqualsByType(const TKBValue& other) const {
  switch (type_) {
    case dtNone:
      return true;
    case dtAtom:
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      if (HoldsText(other.type_)) return payload_.text == other.payload_.text;
      return payload_.text == other.GetAsString();
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
      if (KBIntegerTypes.Has(other.type_)) return payload_.integer == other.payload_.integer;
      return payload_.integer == other.GetAsInteger();
    case dtFloat:
      return SameNumber(payload_.number, other.GetAsFloat());
    case dtFunCall:
    case dtFact:
    case dtList:
    case dtSingletons: {
      static constexpr const char* kWords[] = {"function call", "fact", "list"};
      const DepthGuard guard("value");
      const std::string_view word =
          type_ == dtSingletons ? "singletons" : kWords[type_ - dtFunCall];
      return SameObject(payload_.shared.get(), other.SharedOf(type_, word));
    }
    case dtFuzzy:
      return FuzzyValueEquals(*GetAsFuzzy(), other);
    case dtObject: {
      const TObjectHandle* handle = GetAsHandle();
      if (handle != other.GetAsHandle()) return false;
      return handle != nullptr || GetAsObject() == other.GetAsObject();
    }
    case dtExternalAddress:
      return payload_.address == other.GetAsExternalAddress();
    case dtClass:
      return false;  // equal only as the same cell
  }
  return false;
}

std::uint32_t TKBValue::GetHashCode() const {
  switch (type_) {
    case dtAtom:
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      return payload_.text.Hash();
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
      return static_cast<std::uint32_t>(payload_.integer);
    case dtFloat:
      return WrapToHash(payload_.number);
    case dtExternalAddress:
    case dtClass:
      return static_cast<std::uint32_t>(std::bit_cast<std::uintptr_t>(payload_.address));
    case dtObject:
      if (HoldsHandle()) return payload_.shared->GetHashCode();
      return static_cast<std::uint32_t>(std::bit_cast<std::uintptr_t>(GetAsObject()));
    case dtFunCall:
    case dtFact:
    case dtList:
    case dtSingletons:
    case dtFuzzy: {
      // A hash never raises: what lies deeper than this takes no part in it.
      static constexpr std::int32_t kMaxHashDepth = 32;
      static thread_local std::int32_t depth = 0;
      struct Level {
        Level() { ++depth; }
        ~Level() { --depth; }
      } level;
      return payload_.shared && depth <= kMaxHashDepth ? payload_.shared->GetHashCode() : 0;
    }
    case dtNone:
      return 0;
  }
  return 0;
}

static void AppendQuotedText(std::string& text, std::string_view content) {
  text += '"';
  for (const char character : content) {
    if (character == '\\' || character == '"') text += '\\';
    text += character;
  }
  text += '"';
}

void TKBValue::AppendTo(std::string& text) const {
  switch (type_) {
    case dtNone:
      return;  // as FCNil prints
    case dtAtom:
    case dtSlot:
    case dtMultiSlot:
      AppendText(text, payload_.text);
      return;
    case dtString:
      AppendQuotedText(text, payload_.text);
      return;
    case dtInteger:
      text += IntegerToText(payload_.integer);
      return;
    case dtVariable:
      text += '?';
      text += payload_.text.view();
      return;
    case dtMultiVariable:
      text += "$?";
      text += payload_.text.view();
      return;
    case dtFactId:
      text += "<Fact-" + IntegerToText(payload_.integer) + ">";
      return;
    case dtFloat:
      text += FloatToText(payload_.number);
      return;
    case dtList: {
      const DepthGuard guard("value");
      static_cast<const TValueVector&>(*payload_.shared).AppendTo(text);
      return;
    }
    case dtFunCall:
    case dtFact:
    case dtSingletons:
    case dtFuzzy: {
      const DepthGuard guard("value");
      if (payload_.shared) text += payload_.shared->ToString();
      return;
    }
    case dtObject: {
      if (HoldsHandle()) {
        text += payload_.shared->ToString();
        return;
      }
      const TObject* object = GetAsObject();
      if (object == nullptr) return;
      if (const auto* info = dynamic_cast<const TBindingInfo*>(object)) {
        text += "<" + info->ClassName() + ": " + info->ToString() + ">";
      } else {
        text += "<Object: " + object->ClassName() + ">";
      }
      return;
    }
    case dtClass:
      if (payload_.class_reference != nullptr) text += payload_.class_reference->GetClassName();
      return;
    case dtExternalAddress:
      text +=
          "<External-Address: " + IntegerToText(std::bit_cast<std::intptr_t>(payload_.address)) +
          ">";
      return;
    case dtDescriptor:
      text += "<UNKNOWN>";
      return;
  }
}

std::string TKBValue::ToString() const {
  std::string text;
  AppendTo(text);
  return text;
}

Ref<IKBValue> TKBValue::Resolve(IScope* scope) {
  switch (type_) {
    case dtVariable:
    case dtMultiVariable: {
      if (scope == nullptr) Raise(SNoContext, GetKBTypeName(type_));
      Ref<IKBValue> value = scope->FindValue(payload_.text);
      if (!value) scope->RaiseUnknown(payload_.text);
      return value;
    }
    case dtFunCall: {
      const Ref<ICloneable> call = payload_.shared;  // the call may change the cell that holds it
      if (!call) Raise(SNoSuchFunction, "");
      Ref<IKBValue> result;
      static_cast<ICallable&>(*call).Execute(scope, result);
      if (!result) return FCNil;
      return result;
    }
    case dtObject: {
      const auto* info = dynamic_cast<const TBindingInfo*>(GetAsObject());
      if (info == nullptr) return Ref<IKBValue>(this);
      if (scope == nullptr) Raise(SNoContext, GetKBTypeName(type_));
      return scope->ReadMatch(*info);
    }
    case dtSingletons: {
      const Ref<ISingletonsVector> points(GetAsSingletons());  // a coordinate may be a call
      if (!points) Raise(SInvalidFuzzyValue);
      return NewFuzzy(FuzzySetOfPoints(*points, scope));
    }
    default:
      return Ref<IKBValue>(this);
  }
}

}  // namespace reasoner
