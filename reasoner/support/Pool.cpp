#include "reasoner/support/Pool.h"

#include <cstdint>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define REASONER_POOL_OFF 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || \
    __has_feature(thread_sanitizer)
#define REASONER_POOL_OFF 1
#endif
#endif

namespace reasoner {

#if defined(REASONER_POOL_OFF)

void* PoolAllocate(std::size_t size) { return ::operator new(size); }
void PoolFree(void* block, std::size_t /*size*/) noexcept { ::operator delete(block); }

#else

namespace {

constexpr std::size_t kGrain = 16;
constexpr std::size_t kLargest = 256;
constexpr std::size_t kClasses = kLargest / kGrain;
constexpr std::size_t kChunkSize = 64 * 1024;
// So many free blocks make a batch, the unit that threads hand on. A thread keeps at most two of a
// class: one that frees what others allocate must not hoard it.
constexpr std::uint32_t kBatchSize = 512;

// What a free block holds.
struct Block {
  Block* next;
  Block* next_batch;  // in the first block of a batch in the common store
};
static_assert(sizeof(Block) <= kGrain);

// Keeps every chunk reachable.
struct Chunk {
  Chunk* next;
};
static_assert(sizeof(Chunk) <= kGrain);

// The common store. It is never destroyed: objects end after all else has.
struct Store {
  std::mutex mutex;
  Block* batches[kClasses] = {};
  Chunk* chunks = nullptr;
};
constinit Store store;

enum Phase : std::uint8_t { kUnused, kActive, kOver };

// The blocks of one class. The count may be above the truth, never below it.
struct Magazine {
  Block* free = nullptr;
  std::uint32_t count = kBatchSize;  // so that the first block freed takes the slow way
  Block* spare = nullptr;            // one full batch
  char* fresh = nullptr;             // the part of a chunk that was never in use
  std::size_t fresh_left = 0;
};

// Has no destructor, so that it serves to the thread's last moment; HandOver has one for it.
struct ThreadLists {
  Magazine magazines[kClasses];
  Phase phase = kUnused;
};
constinit thread_local ThreadLists thread_lists;

void PutBatch(std::size_t size_class, Block* batch) noexcept {
  if (batch == nullptr) return;
  const std::lock_guard lock(store.mutex);
  batch->next_batch = store.batches[size_class];
  store.batches[size_class] = batch;
}

Block* TakeBatch(std::size_t size_class) noexcept {
  const std::lock_guard lock(store.mutex);
  Block* const batch = store.batches[size_class];
  if (batch != nullptr) store.batches[size_class] = batch->next_batch;
  return batch;
}

void PushFree(Magazine& magazine, void* block) noexcept {
  magazine.free = new (block) Block{magazine.free, nullptr};
}

struct HandOver {
  ~HandOver() {
    thread_lists.phase = kOver;
    for (std::size_t size_class = 0; size_class < kClasses; ++size_class) {
      Magazine& magazine = thread_lists.magazines[size_class];
      const std::size_t size = (size_class + 1) * kGrain;
      for (; magazine.fresh_left >= size; magazine.fresh_left -= size, magazine.fresh += size) {
        PushFree(magazine, magazine.fresh);
      }
      PutBatch(size_class, magazine.free);
      PutBatch(size_class, magazine.spare);
      magazine = Magazine{};
    }
  }
};

void Activate() noexcept {
  static thread_local HandOver hand_over;
  static_cast<void>(hand_over);
  thread_lists.phase = kActive;
  for (Magazine& magazine : thread_lists.magazines) magazine.count = 0;
}

void* Refill(Magazine& magazine, std::size_t size_class) {
  if (thread_lists.phase == kUnused) Activate();
  Block* batch = magazine.spare;
  magazine.spare = nullptr;
  if (batch == nullptr && magazine.fresh_left == 0) batch = TakeBatch(size_class);
  if (batch != nullptr) {
    if (thread_lists.phase == kOver) {
      PutBatch(size_class, batch->next);
      return batch;
    }
    magazine.free = batch->next;
    magazine.count = kBatchSize - 1;
    return batch;
  }

  const std::size_t size = (size_class + 1) * kGrain;
  if (magazine.fresh_left < size) {
    auto* const chunk = static_cast<Chunk*>(::operator new(kChunkSize));
    {
      const std::lock_guard lock(store.mutex);
      chunk->next = store.chunks;
      store.chunks = chunk;
    }
    magazine.fresh = reinterpret_cast<char*>(chunk) + kGrain;
    magazine.fresh_left = (kChunkSize - kGrain) / size * size;
  }
  char* const block = magazine.fresh;
  magazine.fresh += size;
  magazine.fresh_left -= size;
  return block;
}

void FreeSlowly(Magazine& magazine, std::size_t size_class, void* block) noexcept {
  if (thread_lists.phase == kOver) {
    PutBatch(size_class, new (block) Block{nullptr, nullptr});
    return;
  }
  if (thread_lists.phase == kUnused) {
    Activate();
  } else {
    PutBatch(size_class, magazine.spare);
    magazine.spare = magazine.free;
    magazine.free = nullptr;
    magazine.count = 0;
  }
  PushFree(magazine, block);
  ++magazine.count;
}

}  // namespace

void* PoolAllocate(std::size_t size) {
  if (size > kLargest) return ::operator new(size);
  const std::size_t size_class = size == 0 ? 0 : (size - 1) / kGrain;
  Magazine& magazine = thread_lists.magazines[size_class];
  Block* const block = magazine.free;
  if (block == nullptr) return Refill(magazine, size_class);
  magazine.free = block->next;
  --magazine.count;
  return block;
}

void PoolFree(void* block, std::size_t size) noexcept {
  if (block == nullptr) return;
  if (size > kLargest) {
    ::operator delete(block);
    return;
  }
  const std::size_t size_class = size == 0 ? 0 : (size - 1) / kGrain;
  Magazine& magazine = thread_lists.magazines[size_class];
  if (magazine.count >= kBatchSize) {
    FreeSlowly(magazine, size_class, block);
    return;
  }
  PushFree(magazine, block);
  ++magazine.count;
}

#endif

}  // namespace reasoner
