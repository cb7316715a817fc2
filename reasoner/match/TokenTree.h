// TKBTokenTree: the memory of one input of a join.
//
// A fixed array of buckets, told apart by a hash key of the tokens: their sort code, the id of a
// fact, or the value of a slot. Tokens of a bucket stand in the order of arrival, and that order is
// the order in which matches propagate. No two equal tokens stand in one bucket.
//
// OPTIMIZATION: same order as walking the buckets, found by hash. Beside the buckets, tokens of one
// exact key form a group in arrival order (a join on an equal value touches its partners alone),
// and every token is found by the hash of its chain of ids, so that adding and removing walk no
// bucket.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "reasoner/match/Token.h"
#include "reasoner/support/HashChains.h"

namespace reasoner {

class TKBTokenTree {
 public:
  // A token's place, and what its join keeps with it.
  struct Group;
  struct Entry : Pooled {
    Ref<TKBToken> token;
    std::uint32_t key = 0;  // of its group; the bucket follows from the told hash
    std::uint32_t identity = 0;
    std::int32_t bucket = 0;
    Entry* bucket_previous = nullptr;
    Entry* bucket_next = nullptr;
    Entry* group_previous = nullptr;
    Entry* group_next = nullptr;
    Entry* identity_next = nullptr;
    Group* group = nullptr;
    // Where a function decides who blocks, those; where a left token has one partner at most, it.
    std::vector<Ref<TKBToken>> blockers;
  };
  struct Group : Pooled {
    std::uint32_t key = 0;
    Entry* first = nullptr;
    Entry* last = nullptr;
    Group* next = nullptr;
  };

  // With `use_sort_code` the key is the token's sort code; else, with a slot name, the hash of that
  // slot (or of an item of its list) of the token's fact at `token_index`; else that fact's id.
  TKBTokenTree(std::int32_t hash_size, std::int32_t token_index, std::int32_t sub_index,
               const Text& slot_name, bool use_sort_code);
  ~TKBTokenTree();
  TKBTokenTree(const TKBTokenTree&) = delete;
  TKBTokenTree& operator=(const TKBTokenTree&) = delete;

  // The new entry, or null when the bucket holds an equal token already.
  Entry* Add(const Ref<TKBToken>& token);
  // The entry of an equal token, or null. A token that equals nothing held is looked up by its
  // facts alone.
  Entry* Find(const TKBToken& token) const;
  void Remove(Entry& entry) noexcept;
  bool Remove(const TKBToken& token);
  void Clear() noexcept;

  // True from a Clear until the next Add.
  bool IsCleared() const noexcept { return cleared_; }
  std::size_t GetCount() const noexcept { return identities_.size(); }
  std::int32_t GetHashSize() const noexcept { return static_cast<std::int32_t>(buckets_.size()); }
  // The range of buckets used since the last Clear; above the last one and -1 when none was.
  std::int32_t GetLowestBucket() const noexcept { return lowest_; }
  std::int32_t GetHighestBucket() const noexcept { return highest_; }
  Entry* FirstInBucket(std::int32_t bucket) const noexcept {
    return buckets_[static_cast<std::size_t>(bucket)].first;
  }
  // The first entry with exactly this key; the rest follow by group_next. Only for trees keyed by a
  // slot.
  Entry* FirstWithKey(std::uint32_t key) const noexcept;

  // The tokens' texts, a line break behind each bucket that has ever been used.
  std::string ToString() const;
  std::string GetToFactsString() const;

 private:
  struct Bucket {
    Entry* first = nullptr;
    Entry* last = nullptr;
    bool used = false;
  };

  // The key that chooses the bucket, or the exact one of the group.
  std::uint32_t KeyOf(const TKBToken& token, bool exact) const;
  std::int32_t BucketOf(std::uint32_t key) const noexcept;
  Entry* FindIn(const TKBToken& token, std::int32_t bucket, bool strengths) const noexcept;
  void EnterGroup(Entry& entry);
  void LeaveGroup(Entry& entry) noexcept;
  bool IsKeyed() const noexcept { return !use_sort_code_ && !slot_.GetName().empty(); }

  bool use_sort_code_;
  bool cleared_ = false;
  TSlotAccess slot_;
  std::int32_t sub_index_;
  std::int32_t token_index_;
  std::int32_t lowest_;
  std::int32_t highest_ = -1;
  std::vector<Bucket> buckets_;
  HashChains<Entry, &Entry::identity_next, &Entry::identity> identities_;
  HashChains<Group, &Group::next, &Group::key> groups_;
};

// The hash by which a tree files a value: one key for equal values.
std::uint32_t TokenKeyOf(const IKBValue* value);

}  // namespace reasoner
