// TValueHashTable: names to cells.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/support/NameTable.h"
#include "reasoner/support/Object.h"
#include "reasoner/values/KBValue.h"

namespace reasoner {

// Keeps the order in which the names came.
class TValueHashTable : public TPersistent {
 public:
  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(table_.size()); }
  bool ContainsKey(std::string_view key) const { return table_.Contains(key); }
  // False, and null in `value`, for a missing key. A key may hold null.
  bool ContainsKey(std::string_view key, Ref<IKBValue>& value) const;
  // Null for a missing key.
  Ref<IKBValue> Get(std::string_view key) const;
  Ref<IKBValue> GetItem(std::string_view key) const { return Get(key); }
  void Put(std::string_view key, const Ref<IKBValue>& value) { PutValue(key, value); }
  void SetItem(std::string_view key, const Ref<IKBValue>& value) { PutValue(key, value); }
  virtual void Remove(std::string_view key) { table_.Take(key); }
  virtual void Clear() { table_.Clear(); }
  std::vector<std::string> GetKeys() const { return table_.Names(); }

  // Takes over the keys with clones of their values.
  void Assign(const TPersistent& source) override;
  // A line "key = value" for each key.
  std::string ToString() const override;

 protected:
  virtual void PutValue(std::string_view key, const Ref<IKBValue>& value) {
    table_.Put(key, value);
  }

 private:
  NameTable<Ref<IKBValue>> table_;
};

}  // namespace reasoner
