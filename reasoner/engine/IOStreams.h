// TIOStreams: the streams behind logical names.

#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "reasoner/support/NameTable.h"
#include "reasoner/support/Streams.h"

namespace reasoner {

class TReasoner;

// Owns its streams.
class TIOStreams : public TPersistent {
 public:
  explicit TIOStreams(TReasoner& engine) : engine_(engine) {}

  // A name in use is dealt with by the engine's DuplicateConstructs.
  void Add(std::string_view name, std::unique_ptr<TGTextStream> stream);
  // The stream, or null.
  TGTextStream* Find(std::string_view name) const;
  bool ContainsKey(std::string_view name) const { return table_.Contains(name); }
  // Raises "Invalid stream name: %s" for an unknown name.
  void Remove(std::string_view name);
  void Clear();
  void Flush();
  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(table_.size()); }

 private:
  TReasoner& engine_;
  NameTable<std::unique_ptr<TGTextStream>> table_;
};

}  // namespace reasoner
