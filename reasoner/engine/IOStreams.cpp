#include "reasoner/engine/IOStreams.h"

#include "reasoner/engine/Reasoner.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TIOStreams::Add(std::string_view name, std::unique_ptr<TGTextStream> stream) {
  if (ContainsKey(name)) {
    if (engine_.DuplicateConstructs == dcError) Raise(SDuplicateStreamNames, name);
    if (engine_.DuplicateConstructs == dcIgnore) return;
    Remove(name);
  }
  table_.Put(name, std::move(stream));
}

TGTextStream* TIOStreams::Find(std::string_view name) const {
  const std::unique_ptr<TGTextStream>* found = table_.Find(name);
  return found == nullptr ? nullptr : found->get();
}

void TIOStreams::Remove(std::string_view name) {
  if (!ContainsKey(name)) Raise(SInvalidStreamName, name);
  table_.Take(name);
}

void TIOStreams::Clear() { table_.Clear(); }

void TIOStreams::Flush() {
  table_.ForEach(
      [](const std::string&, const std::unique_ptr<TGTextStream>& stream) { stream->Flush(); });
}

}  // namespace reasoner
