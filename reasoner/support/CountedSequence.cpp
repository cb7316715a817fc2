#include "reasoner/support/CountedSequence.h"

namespace reasoner {

namespace {

std::size_t CountOf(const CountedNode* node) noexcept { return node == nullptr ? 0 : node->count; }

void Recount(CountedNode& node) noexcept {
  node.count = CountOf(node.left) + CountOf(node.right) + 1;
}

// The link that leads to `node` from its parent, or from the root.
CountedNode*& LinkTo(CountedNode*& root, const CountedNode& node) noexcept {
  if (node.parent == nullptr) return root;
  return node.parent->left == &node ? node.parent->left : node.parent->right;
}

// Lifts `node` above its parent; the order of the items stays.
void RotateUp(CountedNode*& root, CountedNode& node) noexcept {
  CountedNode& parent = *node.parent;
  LinkTo(root, parent) = &node;
  node.parent = parent.parent;
  CountedNode*& inner = parent.left == &node ? node.right : node.left;
  CountedNode*& vacant = parent.left == &node ? parent.left : parent.right;
  vacant = inner;
  if (inner != nullptr) inner->parent = &parent;
  inner = &parent;
  parent.parent = &node;
  Recount(parent);
  Recount(node);
}

CountedNode* Leftmost(CountedNode* node) noexcept {
  while (node != nullptr && node->left != nullptr) node = node->left;
  return node;
}

}  // namespace

CountedNode* CountedSequenceBase::NodeAt(std::size_t index) const noexcept {
  CountedNode* node = root_;
  for (std::size_t before = CountOf(node->left); index != before; before = CountOf(node->left)) {
    if (index < before) {
      node = node->left;
    } else {
      index -= before + 1;
      node = node->right;
    }
  }
  return node;
}

std::size_t CountedSequenceBase::IndexOfNode(const CountedNode& node) noexcept {
  std::size_t index = CountOf(node.left);
  for (const CountedNode* child = &node; child->parent != nullptr; child = child->parent) {
    if (child->parent->right == child) index += CountOf(child->parent->left) + 1;
  }
  return index;
}

void CountedSequenceBase::InsertNode(std::size_t index, CountedNode& node) noexcept {
  random_ ^= random_ << 13;
  random_ ^= random_ >> 17;
  random_ ^= random_ << 5;
  node.priority = random_;
  node.left = node.right = nullptr;
  node.count = 1;

  CountedNode* parent = nullptr;
  CountedNode** link = &root_;
  while (*link != nullptr) {
    parent = *link;
    ++parent->count;
    const std::size_t before = CountOf(parent->left);
    if (index <= before) {
      link = &parent->left;
    } else {
      index -= before + 1;
      link = &parent->right;
    }
  }
  *link = &node;
  node.parent = parent;
  while (node.parent != nullptr && node.parent->priority < node.priority) RotateUp(root_, node);
}

void CountedSequenceBase::EraseNode(CountedNode& node) noexcept {
  for (CountedNode* above = node.parent; above != nullptr; above = above->parent) --above->count;

  // Merges the two subtrees into the node's place, from the top down.
  CountedNode* left = node.left;
  CountedNode* right = node.right;
  CountedNode* parent = node.parent;
  CountedNode** link = &LinkTo(root_, node);
  while (left != nullptr && right != nullptr) {
    CountedNode*& upper = left->priority >= right->priority ? left : right;
    CountedNode* const taken = upper;
    taken->count = left->count + right->count;
    *link = taken;
    taken->parent = parent;
    parent = taken;
    link = taken == left ? &taken->right : &taken->left;
    upper = *link;
  }
  CountedNode* const rest = left != nullptr ? left : right;
  *link = rest;
  if (rest != nullptr) rest->parent = parent;
  node = CountedNode();
}

CountedNode* CountedSequenceBase::NextNode(const CountedNode& node) noexcept {
  if (node.right != nullptr) return Leftmost(node.right);
  const CountedNode* child = &node;
  while (child->parent != nullptr && child->parent->right == child) child = child->parent;
  return child->parent;
}

CountedNode* CountedSequenceBase::FirstNode() const noexcept { return Leftmost(root_); }

CountedNode* CountedSequenceBase::LastNode() const noexcept {
  CountedNode* node = root_;
  while (node != nullptr && node->right != nullptr) node = node->right;
  return node;
}

void CountedSequenceBase::ReplaceNode(CountedNode& old_node, CountedNode& node) noexcept {
  if (&old_node == &node) return;
  LinkTo(root_, old_node) = &node;
  node = old_node;
  if (node.left != nullptr) node.left->parent = &node;
  if (node.right != nullptr) node.right->parent = &node;
  old_node = CountedNode();
}

}  // namespace reasoner
