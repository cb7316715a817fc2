// The shared constant cells, one each for the life of the process.
//
// A constant is never changed and never ended; writing to one raises. `FCFalse` is the only false
// value of the language.

#pragma once

#include "reasoner/values/KBValue.h"

namespace reasoner {

// A constant cell: as good as a Ref, without a count.
class TValueConstant {
 public:
  explicit TValueConstant(TKBValue* cell) noexcept : cell_(cell) {}
  operator Ref<IKBValue>() const noexcept {
    return Ref<IKBValue>(cell_);
  }  // NOLINT: a constant is a value
  TKBValue& operator*() const noexcept { return *cell_; }
  TKBValue* operator->() const noexcept { return cell_; }
  TKBValue* get() const noexcept { return cell_; }
  friend bool operator==(const Ref<IKBValue>& a, const TValueConstant& b) noexcept {
    return a.get() == b.cell_;
  }

 private:
  TKBValue* cell_;
};

extern const TValueConstant FCTrue;         // atom "TRUE"
extern const TValueConstant FCFalse;        // atom "FALSE"
extern const TValueConstant FCNil;          // atom with empty text
extern const TValueConstant FCEmptyString;  // a second atom with empty text
extern const TValueConstant FCNilList;      // list without members
extern const TValueConstant FCCatch;
extern const TValueConstant FCExcept;
extern const TValueConstant FCFinally;
extern const TValueConstant FCElse;
extern const TValueConstant FCDo;
extern const TValueConstant FCEOF;
extern const TValueConstant FCThen;
extern const TValueConstant FCPI;    // float 3.141592653589793
extern const TValueConstant FCZero;  // float 0.0

// True for the very cells above.
inline bool IsValueConstant(const IKBValue& value) noexcept { return value.IsConstant(); }

inline Ref<IKBValue> BooleanValue(bool value) {
  return value ? Ref<IKBValue>(FCTrue) : Ref<IKBValue>(FCFalse);
}
// Only the atom FALSE is false.
inline bool IsFalse(const IKBValue& value) {
  return &value == FCFalse.get() || value.Equals(*FCFalse);
}

}  // namespace reasoner
