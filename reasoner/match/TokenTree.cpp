#include "reasoner/match/TokenTree.h"

#include <functional>
#include <string_view>

#include "reasoner/support/Streams.h"
#include "reasoner/values/ValueVector.h"

namespace reasoner {

TKBTokenTree::TKBTokenTree(std::int32_t hash_size, std::int32_t token_index, std::int32_t sub_index,
                           const Text& slot_name, bool use_sort_code)
    : use_sort_code_(use_sort_code),
      slot_(slot_name),
      sub_index_(sub_index),
      token_index_(token_index),
      lowest_(hash_size + 1),
      buckets_(static_cast<std::size_t>(hash_size < 1 ? 1 : hash_size)) {}

TKBTokenTree::~TKBTokenTree() { Clear(); }

static std::uint32_t BucketKeyOf(const IKBValue* value) {
  return value == nullptr ? 0 : value->GetHashCode();
}

std::uint32_t TokenKeyOf(const IKBValue* value) {
  // A long text's hash code leaves most of it out; told apart by all of it, texts that begin alike
  // do not meet.
  constexpr std::size_t kShort = 16;
  if (value != nullptr && KBStringTypes.Has(value->GetDType())) {
    const std::string_view text = value->TextView();
    if (text.size() >= kShort)
      return static_cast<std::uint32_t>(std::hash<std::string_view>()(text));
  }
  return BucketKeyOf(value);
}

std::uint32_t TKBTokenTree::KeyOf(const TKBToken& token, bool exact) const {
  const auto key_of = exact ? TokenKeyOf : BucketKeyOf;
  if (use_sort_code_) return token.GetSortCode();
  IFact* fact = token.GetFacts(token_index_);
  if (fact == nullptr) return 0;
  if (slot_.GetName().empty()) return static_cast<std::uint32_t>(fact->GetID());
  const std::int32_t ordinal = fact->GetTemplate() ? slot_.In(*fact->GetTemplate()) : -1;
  if (ordinal < 0) return 0;
  const Ref<IKBValue>& value = fact->GetValueAt(ordinal);
  if (sub_index_ == NoSubIndex) return key_of(value.get());
  if (value->GetDType() != dtList || sub_index_ >= value->GetAsList()->GetValueCount()) return 0;
  return key_of(value->GetAsList()->GetItem(sub_index_).get());
}

std::int32_t TKBTokenTree::BucketOf(std::uint32_t key) const noexcept {
  std::int64_t positive = static_cast<std::int32_t>(key);
  if (positive < 0) positive = -positive;
  return static_cast<std::int32_t>(positive % GetHashSize());
}

TKBTokenTree::Entry* TKBTokenTree::FindIn(const TKBToken& token, std::int32_t bucket,
                                          bool strengths) const noexcept {
  const std::uint32_t identity = token.GetIdentityHash();
  for (Entry* entry = identities_.Chain(identity); entry != nullptr; entry = entry->identity_next) {
    if (entry->identity != identity || entry->bucket != bucket) continue;
    if (strengths ? entry->token->Equals(token) : entry->token->EqualsFacts(token)) return entry;
  }
  return nullptr;
}

TKBTokenTree::Entry* TKBTokenTree::Find(const TKBToken& token) const {
  const std::int32_t bucket = BucketOf(KeyOf(token, false));
  if (Entry* entry = FindIn(token, bucket, true)) return entry;
  return FindIn(token, bucket, false);
}

TKBTokenTree::Entry* TKBTokenTree::Add(const Ref<TKBToken>& token) {
  const std::int32_t number = BucketOf(KeyOf(*token, false));
  if (number < lowest_) lowest_ = number;
  if (number > highest_) highest_ = number;
  Bucket& bucket = buckets_[static_cast<std::size_t>(number)];
  bucket.used = true;
  if (FindIn(*token, number, true) != nullptr) return nullptr;
  auto entry = std::make_unique<Entry>();
  entry->token = token;
  entry->key = IsKeyed() ? KeyOf(*token, true) : 0;
  entry->identity = token->GetIdentityHash();
  entry->bucket = number;
  identities_.Insert(*entry);
  if (IsKeyed()) {
    try {
      EnterGroup(*entry);
    } catch (...) {
      identities_.Remove(*entry);
      throw;
    }
  }
  entry->bucket_previous = bucket.last;
  (bucket.last == nullptr ? bucket.first : bucket.last->bucket_next) = entry.get();
  bucket.last = entry.get();
  cleared_ = false;
  return entry.release();
}

void TKBTokenTree::EnterGroup(Entry& entry) {
  Group* group = groups_.Chain(entry.key);
  while (group != nullptr && group->key != entry.key) group = group->next;
  if (group == nullptr) {
    auto made = std::make_unique<Group>();
    made->key = entry.key;
    groups_.Insert(*made);
    group = made.release();
  }
  entry.group = group;
  entry.group_previous = group->last;
  (group->last == nullptr ? group->first : group->last->group_next) = &entry;
  group->last = &entry;
}

void TKBTokenTree::LeaveGroup(Entry& entry) noexcept {
  Group* group = entry.group;
  if (group == nullptr) return;
  (entry.group_previous == nullptr ? group->first : entry.group_previous->group_next) =
      entry.group_next;
  (entry.group_next == nullptr ? group->last : entry.group_next->group_previous) =
      entry.group_previous;
  if (group->first != nullptr) return;
  groups_.Remove(*group);
  delete group;
}

TKBTokenTree::Entry* TKBTokenTree::FirstWithKey(std::uint32_t key) const noexcept {
  for (Group* group = groups_.Chain(key); group != nullptr; group = group->next) {
    if (group->key == key) return group->first;
  }
  return nullptr;
}

void TKBTokenTree::Remove(Entry& entry) noexcept {
  const std::unique_ptr<Entry> doomed(&entry);  // its token may end: the tree is whole before
  identities_.Remove(entry);
  LeaveGroup(entry);
  Bucket& bucket = buckets_[static_cast<std::size_t>(entry.bucket)];
  (entry.bucket_previous == nullptr ? bucket.first : entry.bucket_previous->bucket_next) =
      entry.bucket_next;
  (entry.bucket_next == nullptr ? bucket.last : entry.bucket_next->bucket_previous) =
      entry.bucket_previous;
}

bool TKBTokenTree::Remove(const TKBToken& token) {
  Entry* entry = Find(token);
  if (entry != nullptr) Remove(*entry);
  return entry != nullptr;
}

void TKBTokenTree::Clear() noexcept {
  if (cleared_) return;
  for (Bucket& bucket : buckets_) {
    Entry* entry = bucket.first;
    bucket.first = bucket.last = nullptr;
    while (entry != nullptr) {
      const std::unique_ptr<Entry> doomed(entry);
      entry = entry->bucket_next;
      LeaveGroup(*doomed);
    }
  }
  identities_.Clear();
  groups_.Clear();
  cleared_ = true;
  highest_ = -1;
  lowest_ = GetHashSize() + 1;
}

std::string TKBTokenTree::ToString() const {
  std::string text;
  for (const Bucket& bucket : buckets_) {
    for (const Entry* entry = bucket.first; entry != nullptr; entry = entry->bucket_next) {
      text += entry->token->ToString();
    }
    if (bucket.used) text += NewLineString;
  }
  return text;
}

std::string TKBTokenTree::GetToFactsString() const {
  std::string text;
  for (const Bucket& bucket : buckets_) {
    for (const Entry* entry = bucket.first; entry != nullptr; entry = entry->bucket_next) {
      text += entry->token->GetToFactsString();
    }
    if (bucket.first != nullptr) text += NewLineString;
  }
  return text;
}

}  // namespace reasoner
