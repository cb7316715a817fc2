// Small blocks from free lists by size class, for the objects that matching makes and ends by the
// million.
//
// The lists belong to a thread; when it ends its blocks go to a common store from which other
// threads take. Blocks larger than the largest class come from the heap. Under sanitizers every
// block comes from the heap, so that they see each object's life.

#pragma once

#include <cstddef>

namespace reasoner {

void* PoolAllocate(std::size_t size);
void PoolFree(void* block, std::size_t size) noexcept;

// A base that makes a class and its descendants live in the pool.
class Pooled {
 public:
  static void* operator new(std::size_t size) { return PoolAllocate(size); }
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* block, std::size_t size) noexcept { PoolFree(block, size); }
};

}  // namespace reasoner
