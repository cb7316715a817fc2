// NameTable: values by name, in the order in which the names came.
//
// Registries list and save in that order, so that every listing is the same in every run. Look-up,
// insertion and removal are O(1); replacing a value keeps its place. Walking by index stays valid
// while entries change: re-read size(), which never skips an entry that was there all the time as
// long as only the walked-off part shrinks.

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace reasoner {

template <class TValue>
class NameTable {
 public:
  std::size_t size() const noexcept { return index_.size(); }
  bool empty() const noexcept { return index_.empty(); }

  TValue* Find(std::string_view name) {
    const auto found = index_.find(name);
    return found == index_.end() ? nullptr : &entries_[found->second].value;
  }
  const TValue* Find(std::string_view name) const {
    return const_cast<NameTable*>(this)->Find(name);
  }
  bool Contains(std::string_view name) const { return index_.find(name) != index_.end(); }

  // Inserts at the end, or replaces the value of a name that is there.
  void Put(std::string_view name, TValue value) {
    if (TValue* old = Find(name)) {
      *old = std::move(value);
      return;
    }
    entries_.push_back(Entry{std::string(name), std::move(value), true});
    try {
      index_.emplace(std::string(name), entries_.size() - 1);
    } catch (...) {
      entries_.pop_back();
      throw;
    }
  }

  // Takes the entry out and gives its value; a default value when the name is not there.
  TValue Take(std::string_view name) {
    const auto found = index_.find(name);
    if (found == index_.end()) return TValue{};
    Entry& entry = entries_[found->second];
    TValue value = std::move(entry.value);
    entry.value = TValue{};
    entry.live = false;
    index_.erase(found);
    ++dead_;
    if (dead_ > 16 && dead_ > entries_.size() / 2) Compact();
    return value;
  }

  // Gives the entry another name at the same place. The new name must be free.
  void Rename(std::string_view old_name, std::string_view new_name) {
    const auto found = index_.find(old_name);
    if (found == index_.end()) return;
    const std::size_t place = found->second;
    index_.emplace(std::string(new_name), place);
    index_.erase(index_.find(old_name));
    entries_[place].name = new_name;
  }

  void Clear() {
    index_.clear();
    dead_ = 0;
    std::vector<Entry> doomed;
    doomed.swap(entries_);  // values may reach this table while they end
  }

  // A copy of the names or of the values, in order: for walks that may change the table.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    names.reserve(size());
    for (const Entry& entry : entries_) {
      if (entry.live) names.push_back(entry.name);
    }
    return names;
  }
  std::vector<TValue> Values() const {
    std::vector<TValue> values;
    values.reserve(size());
    for (const Entry& entry : entries_) {
      if (entry.live) values.push_back(entry.value);
    }
    return values;
  }

  // The entry at a position of the order, or null past the end. O(n) where entries have been taken
  // out.
  std::pair<const std::string*, TValue*> AtIndex(std::size_t index) {
    if (dead_ != 0) Compact();
    if (index >= entries_.size()) return {nullptr, nullptr};
    return {&entries_[index].name, &entries_[index].value};
  }

  // Calls visit(name, value) in order. The table must not change meanwhile.
  template <class TVisit>
  void ForEach(TVisit&& visit) const {
    for (const Entry& entry : entries_) {
      if (entry.live) visit(entry.name, entry.value);
    }
  }

 private:
  struct Entry {
    std::string name;
    TValue value;
    bool live = false;
  };
  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept {
      return std::hash<std::string_view>{}(name);
    }
  };

  void Compact() {
    std::vector<Entry> kept;
    kept.reserve(index_.size());
    for (Entry& entry : entries_) {
      if (!entry.live) continue;
      index_.find(entry.name)->second = kept.size();
      kept.push_back(std::move(entry));
    }
    entries_.swap(kept);
    dead_ = 0;
  }

  std::vector<Entry> entries_;
  std::unordered_map<std::string, std::size_t, NameHash, std::equal_to<>> index_;
  std::size_t dead_ = 0;
};

}  // namespace reasoner
