// TKBValue: the cell, the one run-time datum of the system.
//
// Every slot of a fact, every argument and result of a function, every binding and every constant
// of a construct is a cell. `GetDType()` says which payload is live. Cells are counted and often
// shared: a constant of a rule, a slot of a fact and a bound variable can be one cell, so whoever
// changes a cell that it has not made clones it first. Reading a cell as something it cannot
// convert to raises EKBException and changes nothing.
//
// - dtAtom, dtString, dtVariable, dtMultiVariable, dtSlot, dtMultiSlot: a shared text
// - dtInteger, dtDescriptor: a 32-bit integer; dtFactId: one of 64 bits
// - dtFloat: a double
// - dtFunCall, dtFact, dtList, dtSingletons: a counted object
// - dtObject: an object, borrowed or owned, or the handle of a host's object; null allowed
// - dtClass, dtExternalAddress: a class reference, an address; borrowed
//
// A cell is 40 bytes; it lives in the pool and makes nothing beside itself unless it owns a
// component.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "reasoner/support/Pool.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

class TIFuzzySet;
class TObject;
class TObjectHandle;

using IFuzzySet = TIFuzzySet;

// A class of host objects, as rules see it. Borrowed by cells: it lives as long as its
// registration.
class TClassReference {
 public:
  explicit TClassReference(std::string name) : name_(std::move(name)) {}
  const std::string& GetClassName() const noexcept { return name_; }

 private:
  std::string name_;
};

// Hears of every change of a cell. One listener a cell; it must outlive the cell or take itself
// off.
class IKBValueListener {
 public:
  virtual void ValueChanged(const Ref<IKBValue>& value) = 0;

 protected:
  ~IKBValueListener() = default;
};

class TKBValue final : public IInterface, public Pooled {
 public:
  // Constructors set the payload without telling anyone.
  TKBValue() noexcept = default;
  // dtInteger, dtFactId or dtDescriptor; any other, and a number that does not fit, raises "Value
  // and type mismatch".
  TKBValue(std::int64_t value, TKBType type);
  // A type of KBStringTypes; any other raises "Value and type mismatch".
  TKBValue(const Text& text, TKBType type);
  explicit TKBValue(double value) noexcept;
  explicit TKBValue(Ref<IValueVector> list);
  explicit TKBValue(const TClassReference* class_reference) noexcept;

  TKBType GetDType() const noexcept { return type_; }
  std::int32_t GetTag() const noexcept { return tag_; }
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

  // Reading.
  Text GetAsString() const;
  Text GetAsAtom() const { return GetAsString(); }
  Text GetAsVariable() const { return GetAsString(); }
  Text GetAsMultiVariable() const { return GetAsString(); }
  Text GetAsSlot() const { return GetAsString(); }
  Text GetAsMultiSlot() const { return GetAsString(); }
  // Of a float or a text, truncated towards zero; of a fuzzy value its crisp number, rounded.
  std::int32_t GetAsInteger() const;
  double GetAsNumeric() const;
  double GetAsFloat() const { return GetAsNumeric(); }
  TFactId GetAsFactId() const;
  std::int32_t GetAsDescriptor() const;
  const void* GetAsExternalAddress() const;
  // The object held, borrowed from the cell; null where null was stored. A list is never null.
  IFact* GetAsFact() const;
  IFunCall* GetAsFunCall() const;
  IValueVector* GetAsList() const;
  ISingletonsVector* GetAsSingletons() const;
  IFuzzySet* GetAsFuzzy() const;  // never null
  TObject* GetAsObject() const;
  TObjectHandle* GetAsHandle() const;  // null where the object was stored in another way
  const TClassReference* GetAsClass() const;
  bool IsOwningObject() const noexcept;

  // Writing. Each releases what the cell held, stores, and tells the listener. A shared constant
  // and a cell of a listed fact raise.
  void SetAsAtom(const Text& text) { SetText(text, dtAtom); }
  void SetAsString(const Text& text) { SetText(text, dtString); }
  void SetAsVariable(const Text& text) { SetText(text, dtVariable); }
  void SetAsMultiVariable(const Text& text) { SetText(text, dtMultiVariable); }
  void SetAsSlot(const Text& text) { SetText(text, dtSlot); }
  void SetAsMultiSlot(const Text& text) { SetText(text, dtMultiSlot); }
  void SetAsInteger(std::int32_t value) { SetInteger(value, dtInteger); }
  void SetAsFactId(TFactId value) { SetInteger(value, dtFactId); }
  void SetAsDescriptor(std::int32_t value) { SetInteger(value, dtDescriptor); }
  void SetAsFloat(double value);
  void SetAsExternalAddress(const void* address);
  void SetAsFact(const Ref<IFact>& fact);
  void SetAsFunCall(const Ref<IFunCall>& fun_call);
  void SetAsList(const Ref<IValueVector>& list);  // null stands for an empty list
  void SetAsSingletons(const Ref<ISingletonsVector>& singletons);
  // The set is shared: it is not to be changed from now on. Null raises "invalid fuzzy value".
  void SetAsFuzzy(const Ref<IFuzzySet>& set);
  void SetAsObject(TObject* object);  // borrows
  // Takes ownership. A component may be ended elsewhere: the cell then is empty.
  void SetAsOwnedObject(TObject* object);
  void SetAsHandle(const Ref<TObjectHandle>& handle);  // null stands for no object
  void SetAsClass(const TClassReference* class_reference);
  // Empties the cell without telling anyone.
  void Reset();

  // Takes over type, payload and tag. A list is shared; an owned object is copied.
  void Assign(const TKBValue& source);
  // The same with a list of its own.
  void AssignCopy(const TKBValue& source);
  // A new cell by Assign: shares a list. A clone of FCNil still counts as nil where only nil is
  // valid.
  Ref<IKBValue> Clone() const;

  // Strict: within one type. 1 and 1.0 differ, and so do an atom and a string. A fuzzy value equals
  // the numbers and fuzzy values that it overlaps.
  bool Equals(const TKBValue& other) const;
  // Coercing: reads `other` as this cell's type; a conversion that fails raises.
  bool EqualsStar(const TKBValue& other) const;
  // The same value whatever the types: numbers by what they count, a number and a text where the
  // text reads as that number. What cannot be compared is not equal; never raises for it.
  bool EqualsInValue(const TKBValue& other) const;
  std::uint32_t GetHashCode() const;
  std::string ToString() const;
  // ToString appended to `text`, without a string in between where that is possible.
  void AppendTo(std::string& text) const;

  // Evaluates: variables and calls yield their value, everything else itself. The result is often
  // shared.
  Ref<IKBValue> Resolve(IScope* scope);

  IKBValueListener* GetOnChange() const noexcept { return listener_; }
  void SetOnChange(IKBValueListener* listener) noexcept { listener_ = listener; }

  bool IsConstant() const noexcept { return (flags_ & kConstant) != 0; }
  // From now on writing to the cell, or to the list that it holds, raises: for the fact list, whose
  // facts are filed by their values. A clone can be written.
  void Freeze() {
    if ((flags_ & (kConstant | kFrozen)) == 0) FreezeContent();
  }
  bool IsFrozen() const noexcept { return (flags_ & kFrozen) != 0; }
  // FCNil, or a clone of it that nobody has changed.
  bool IsNilLike() const noexcept;

  // The text of a text kind, without a count.
  std::string_view TextView() const noexcept { return payload_.text.view(); }
  // The number of dtInteger and dtDescriptor.
  std::int32_t RawInteger() const noexcept { return static_cast<std::int32_t>(payload_.integer); }
  TFactId RawFactId() const noexcept { return payload_.integer; }
  double RawFloat() const noexcept { return payload_.number; }

  // For the table of constants alone.
  void MakeConstant() noexcept;

 private:
  friend class TKBValueNexus;
  struct OwnedObject;

  enum Flags : std::uint8_t {
    kConstant = 1,
    kOwnsObject = 2,
    kNilClone = 4,
    kHoldsHandle = 8,
    kFrozen = 16
  };

  union Payload {
    Text text;
    std::int64_t integer;
    double number;
    const void* address;
    TObject* object;
    OwnedObject* owned;
    const TClassReference* class_reference;
    Ref<ICloneable> shared;
    Payload() noexcept : address(nullptr) {}
    ~Payload() {}
  };

  ~TKBValue() override;

  static bool HoldsText(TKBType type) noexcept { return KBStringTypes.Has(type); }
  static bool HoldsShared(TKBType type) noexcept {
    return TKBTypes{dtFunCall, dtFact, dtList, dtSingletons, dtFuzzy}.Has(type);
  }

  bool HoldsHandle() const noexcept { return (flags_ & kHoldsHandle) != 0; }
  bool HoldsReference() const noexcept { return HoldsShared(type_) || HoldsHandle(); }

  void SetText(const Text& text, TKBType type);
  void SetInteger(std::int64_t value, TKBType type);
  void SetShared(Ref<ICloneable> object, TKBType type);
  void CheckChangeable() const;
  void FreezeContent();
  void Drop() noexcept;  // ends the payload and leaves dtNone
  void Changed();
  void CopyPayload(const TKBValue& source, bool own_list);
  bool EqualsByType(const TKBValue& other) const;
  [[noreturn]] void RaiseNotA(std::string_view wanted) const;
  ICloneable* SharedOf(TKBType type, std::string_view wanted) const {
    if (type_ != type) RaiseNotA(wanted);
    return payload_.shared.get();
  }

  TKBType type_ = dtNone;
  std::uint8_t flags_ = 0;
  std::int32_t tag_ = 0;
  Payload payload_;
  IKBValueListener* listener_ = nullptr;
};

inline Ref<IKBValue> NewAtom(const Text& text) { return Make<TKBValue>(text, dtAtom); }
inline Ref<IKBValue> NewString(const Text& text) { return Make<TKBValue>(text, dtString); }
inline Ref<IKBValue> NewInteger(std::int32_t value) { return Make<TKBValue>(value, dtInteger); }
inline Ref<IKBValue> NewFactId(TFactId id) { return Make<TKBValue>(id, dtFactId); }
inline Ref<IKBValue> NewFloat(double value) { return Make<TKBValue>(value); }
Ref<IKBValue> NewList(const Ref<IValueVector>& list);
Ref<IKBValue> NewFactValue(const Ref<IFact>& fact);
Ref<IKBValue> NewFunCallValue(const Ref<IFunCall>& fun_call);
Ref<IKBValue> NewFuzzy(const Ref<IFuzzySet>& set);
Ref<IKBValue> NewObjectValue(const Ref<TObjectHandle>& handle);

}  // namespace reasoner
