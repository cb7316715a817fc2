#include "reasoner/values/ValueHashTable.h"

#include "reasoner/support/Streams.h"

namespace reasoner {

bool TValueHashTable::ContainsKey(std::string_view key, Ref<IKBValue>& value) const {
  const Ref<IKBValue>* found = table_.Find(key);
  value = found == nullptr ? Ref<IKBValue>() : *found;
  return found != nullptr;
}

Ref<IKBValue> TValueHashTable::Get(std::string_view key) const {
  const Ref<IKBValue>* found = table_.Find(key);
  return found == nullptr ? Ref<IKBValue>() : *found;
}

void TValueHashTable::Assign(const TPersistent& source) {
  const auto* table = dynamic_cast<const TValueHashTable*>(&source);
  if (table == nullptr) return TPersistent::Assign(source);
  if (table == this) return;
  Clear();
  for (const std::string& key : table->GetKeys()) {
    const Ref<IKBValue> value = table->Get(key);
    Put(key, value ? value->Clone() : nullptr);
  }
}

std::string TValueHashTable::ToString() const {
  std::string text;
  table_.ForEach([&text](const std::string& key, const Ref<IKBValue>& value) {
    text += key + " = ";
    if (value) value->AppendTo(text);
    text += NewLineString;
  });
  return text;
}

}  // namespace reasoner
