// The degrees of the facts that a negation's left tokens have found, for the negations behind it.
//
// `exists` is two negations, one behind the other: the first one counts the facts that a left token
// matches, the second one lets the token through while there are any. How true the token is then
// depends on the greatest degree among these facts, and changes as they come and go. Degrees of 1
// are what the count tells beyond those kept here, so that patterns without fuzzy values keep
// nothing.

#pragma once

#include <cstdint>
#include <set>
#include <unordered_map>

#include "reasoner/match/TokenTree.h"

namespace reasoner {

class TBlockerDegrees {
 public:
  using Entry = TKBTokenTree::Entry;

  void Add(const Entry& left, float degree) {
    if (degree < 1) below_one_[&left].insert(degree);
  }
  void Remove(const Entry& left, float degree) {
    const auto found = below_one_.find(&left);
    if (!(degree < 1) || found == below_one_.end()) return;
    const auto place = found->second.find(degree);
    if (place != found->second.end()) found->second.erase(place);
    if (found->second.empty()) below_one_.erase(found);
  }
  void Forget(const Entry& left) { below_one_.erase(&left); }
  void Clear() noexcept { below_one_.clear(); }

  // Of the facts that the left token's count tells.
  float Greatest(const Entry& left) const {
    const auto found = below_one_.find(&left);
    if (found == below_one_.end()) return 1;
    const auto known = static_cast<std::int64_t>(found->second.size());
    return left.token->GetNegatedCount() > known ? 1 : *found->second.rbegin();
  }

 private:
  std::unordered_map<const Entry*, std::multiset<float>> below_one_;
};

}  // namespace reasoner
