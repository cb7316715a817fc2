// A sequence that knows positions: item at an index, index of an item, insertion and removal
// anywhere, each O(log n).
//
// It is a treap over the order of its items: a binary tree in which every node counts its subtree,
// kept shallow by random priorities. The links live in the items (`CountedNode` is their base), so
// an item is in one sequence at most, and the sequence neither makes nor ends items. The priorities
// come from a fixed generator of the sequence: the same operations give the same shape in every
// run.

#pragma once

#include <cstddef>
#include <cstdint>

namespace reasoner {

struct CountedNode {
  CountedNode* parent = nullptr;
  CountedNode* left = nullptr;
  CountedNode* right = nullptr;
  std::size_t count = 0;  // items of the subtree; 0 while the item is in no sequence
  std::uint32_t priority = 0;

  bool IsLinked() const noexcept { return count != 0; }
};

class CountedSequenceBase {
 public:
  CountedSequenceBase() = default;
  CountedSequenceBase(const CountedSequenceBase&) = delete;
  CountedSequenceBase& operator=(const CountedSequenceBase&) = delete;

  std::size_t size() const noexcept { return root_ == nullptr ? 0 : root_->count; }
  bool empty() const noexcept { return root_ == nullptr; }

 protected:
  CountedNode* NodeAt(std::size_t index) const noexcept;  // index < size()
  static std::size_t IndexOfNode(const CountedNode& node) noexcept;
  void InsertNode(std::size_t index, CountedNode& node) noexcept;  // index <= size()
  void EraseNode(CountedNode& node) noexcept;
  static CountedNode* NextNode(const CountedNode& node) noexcept;
  CountedNode* FirstNode() const noexcept;
  CountedNode* LastNode() const noexcept;
  // Replaces `old_node` by `node` at its place.
  void ReplaceNode(CountedNode& old_node, CountedNode& node) noexcept;

 private:
  CountedNode* root_ = nullptr;
  std::uint32_t random_ = 0x9E3779B9u;
};

// T derives from CountedNode.
template <class T>
class CountedSequence : public CountedSequenceBase {
 public:
  T* At(std::size_t index) const noexcept { return static_cast<T*>(NodeAt(index)); }
  static std::size_t IndexOf(const T& item) noexcept { return IndexOfNode(item); }
  void Insert(std::size_t index, T& item) noexcept { InsertNode(index, item); }
  void Append(T& item) noexcept { InsertNode(size(), item); }
  void Erase(T& item) noexcept { EraseNode(item); }
  void Replace(T& old_item, T& item) noexcept { ReplaceNode(old_item, item); }
  T* First() const noexcept { return static_cast<T*>(FirstNode()); }
  T* Last() const noexcept { return static_cast<T*>(LastNode()); }
  // The item behind, or null.
  static T* Next(const T& item) noexcept { return static_cast<T*>(NextNode(item)); }
};

}  // namespace reasoner
