// TIOStreams: the streams behind logical names.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "reasoner/support/NameTable.h"
#include "reasoner/support/Streams.h"

namespace reasoner {

class TReasoner;

// A stream that leaves the table is flushed and ends, but one that is being read or written at that
// moment ends when that is over. What cannot be written any more raises when the stream has left.
class TIOStreams : public TPersistent {
 public:
  explicit TIOStreams(TReasoner& engine) : engine_(engine) {}

  // A name in use is dealt with by the engine's DuplicateConstructs.
  void Add(std::string_view name, std::unique_ptr<TGTextStream> stream) {
    PutValue(name, std::shared_ptr<TGTextStream>(std::move(stream)));
  }
  // The same with a stream that stays the caller's and outlives its entry.
  void Add(std::string_view name, TGTextStream& stream) {
    PutValue(name, std::shared_ptr<TGTextStream>(std::shared_ptr<void>(), &stream));
  }
  void Put(std::string_view name, std::unique_ptr<TGTextStream> stream) {
    Add(name, std::move(stream));
  }
  // The stream, or null. Whoever keeps the pointer keeps the stream.
  std::shared_ptr<TGTextStream> Find(std::string_view name) const;
  bool ContainsKey(std::string_view name) const { return table_.Contains(name); }
  // Whether reading has come to the end. Raises "Invalid stream name: %s" for an unknown name.
  bool AtEnd(std::string_view name) const;
  // Raises "Invalid stream name: %s" for an unknown name.
  void Remove(std::string_view name);
  void Clear();
  // Writes out what waits; a stream that cannot do so does not keep the others from it.
  void Flush();
  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(table_.size()); }
  // What another engine has open stays its own.
  void Assign(const TPersistent& source) override;

 protected:
  virtual void PutValue(std::string_view name, const std::shared_ptr<TGTextStream>& stream);

 private:
  TReasoner& engine_;
  NameTable<std::shared_ptr<TGTextStream>> table_;
};

}  // namespace reasoner
