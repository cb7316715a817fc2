#include "reasoner/engine/IOStreams.h"

#include <vector>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/FirstFailure.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TIOStreams::PutValue(std::string_view name, const std::shared_ptr<TGTextStream>& stream) {
  if (!stream) Raise(SInvalidStreamName, name);
  if (ContainsKey(name)) {
    if (engine_.DuplicateConstructs == dcError) Raise(SDuplicateStreamNames, name);
    if (engine_.DuplicateConstructs == dcIgnore) return;
  }
  const std::shared_ptr<TGTextStream> old = Find(name);
  table_.Put(name, stream);
  if (old) old->Flush();
}

std::shared_ptr<TGTextStream> TIOStreams::Find(std::string_view name) const {
  const std::shared_ptr<TGTextStream>* found = table_.Find(name);
  return found == nullptr ? nullptr : *found;
}

bool TIOStreams::AtEnd(std::string_view name) const {
  const std::shared_ptr<TGTextStream> stream = Find(name);
  if (!stream) Raise(SInvalidStreamName, name);
  return stream->AtEnd();
}

void TIOStreams::Remove(std::string_view name) {
  if (!ContainsKey(name)) Raise(SInvalidStreamName, name);
  const std::shared_ptr<TGTextStream> stream = table_.Take(name);
  stream->Flush();
}

static void FlushAll(const std::vector<std::shared_ptr<TGTextStream>>& streams) {
  FirstFailure failures;
  for (const std::shared_ptr<TGTextStream>& stream : streams) {
    failures.Try([&stream] { stream->Flush(); });
  }
  failures.Raise();
}

void TIOStreams::Clear() {
  const std::vector<std::shared_ptr<TGTextStream>> streams = table_.Values();
  table_.Clear();
  FlushAll(streams);
}

void TIOStreams::Flush() { FlushAll(table_.Values()); }

void TIOStreams::Assign(const TPersistent& source) {
  if (dynamic_cast<const TIOStreams*>(&source) == nullptr) TPersistent::Assign(source);
}

}  // namespace reasoner
