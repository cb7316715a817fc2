// TFacts: the list of asserted facts in the order of their assertion.
//
// A host may change the list: each change goes through the engine, which matches the fact, unless
// the engine itself is at work. Facts stand in a counted tree, so that an index leads to a fact and
// a fact to its index at O(log n); ids are found by a table, equal facts by their hash codes, which
// a comparison confirms.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reasoner/facts/Fact.h"
#include "reasoner/support/CountedSequence.h"
#include "reasoner/support/HashChains.h"
#include "reasoner/support/Object.h"

namespace reasoner {

class TReasoner;

class TFacts : public TPersistent {
 public:
  // Without an engine the list is a plain list.
  explicit TFacts(TReasoner* engine);
  ~TFacts() override;

  // An entry of the list. It keeps what it was filed under, whatever happens to the fact.
  struct Entry : CountedNode, Pooled {
    Ref<IFact> fact;
    TFactId id = 0;
    std::uint32_t id_key = 0;  // the lower half of the id, as which it is looked up
    std::uint32_t hash = 0;
    bool hashed = false;
    bool leaving = false;  // its retraction is under way: searches no longer find it
    bool out = false;      // the network has been told to remove it and must not get it any more
    Entry* id_next = nullptr;
    Entry* hash_next = nullptr;
  };

  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(entries_.size()); }
  const Ref<IFact>& Get(std::int32_t index) const;  // raises "List index out of bounds (%d)"
  // Plain replacement: the fact gets the id of the one that was there, and nothing is matched.
  void Put(std::int32_t index, const Ref<IFact>& fact);
  // Null for an unknown id.
  Ref<IFact> GetFactByID(TFactId id) const;
  std::int32_t FindFact(TFactId id) const;         // by id: the index, or -1
  std::int32_t FindFact(const IFact& fact) const;  // by content
  // By identity. With five or more facts, and for a fact with an id, by that id.
  std::int32_t IndexOf(const IFact& fact) const;
  // Whether this very object is listed.
  bool Lists(const IFact& fact) const { return FindEntry(fact) != nullptr; }

  // Asserts in the engine. Gives the last index, whether or not the assertion added anything.
  std::int32_t Add(const Ref<IFact>& fact);
  // Asserts and moves the fact to the index; does nothing for a refused duplicate.
  void Insert(std::int32_t index, const Ref<IFact>& fact);
  void Delete(std::int32_t index);  // retracts
  // Empties the list and then the network.
  void Clear();

  // Keeps ids that facts already have when a host adds them.
  bool PreserveIDs = false;
  TFactId GetHighestId() const noexcept { return highest_id_; }
  bool GetCacheHashCodes() const noexcept { return cache_hash_codes_; }
  void SetCacheHashCodes(bool value);

  // Takes over the facts of another list, asserting each.
  void Assign(const TPersistent& source) override;
  std::string ToString() const override;  // a line a fact, none after the last
  std::string GetToIDString() const;
  std::vector<Ref<IFact>> Snapshot() const;

 private:
  friend class TReasoner;

  Entry& At(std::int32_t index) const;
  Entry* FindEntry(TFactId id) const noexcept;
  // The entry of this very object under the id that it has, leaving or not.
  Entry* FindEntry(const IFact& fact) const noexcept;
  // One with equal content. `hash` is the fact's, while the list files facts by it.
  Entry* FindEqual(const IFact& fact, std::uint32_t hash) const;
  // Facts with fuzzy slots are always filed: each assertion looks for an equal one.
  bool IsFiled(const IFact& fact) const {
    return cache_hash_codes_ || (fact.GetTemplate() && fact.GetTemplate()->IsFuzzy());
  }
  std::uint32_t HashOf(const IFact& fact) const {
    if (fact.GetTemplate() && fact.GetTemplate()->IsFuzzy()) return fact.GetCrispHash();
    return cache_hash_codes_ ? fact.GetHashCode() : 0;
  }
  void InsertDirect(std::int32_t index, const Ref<IFact>& fact, std::uint32_t hash);
  void DeleteDirect(Entry& entry);
  void MarkLeaving(Entry& entry);
  void ClearDirect();

  TReasoner* engine_;  // owns the list, or null
  CountedSequence<Entry> entries_;
  HashChains<Entry, &Entry::id_next, &Entry::id_key> ids_;
  HashChains<Entry, &Entry::hash_next, &Entry::hash> hashes_;
  bool cache_hash_codes_ = true;
  TFactId highest_id_ = 0;
};

}  // namespace reasoner
