// TCaptionNode: a tree of captions, which hosts show in a control of their own.

#pragma once

#include <string>
#include <utility>
#include <vector>

namespace reasoner {

struct TCaptionNode {
  std::string caption;
  std::vector<TCaptionNode> children;

  // Adds a child and gives it; good until the next one is added.
  TCaptionNode& Add(std::string text) {
    children.push_back(TCaptionNode{std::move(text), {}});
    return children.back();
  }
};

}  // namespace reasoner
