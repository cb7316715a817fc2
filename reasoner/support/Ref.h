// Intrusive reference counting: `IInterface` is the base of everything shared, `Ref<T>` the
// reference that keeps.
//
// A new object has count 0 and lives once a Ref holds it; the Ref that lets the count fall to 0
// ends it. A plain reference or pointer borrows and costs nothing. Long chains (a fact in a list in
// a fact ...) are ended one after the other and not by recursion, so that no structure is too deep
// to be freed.
//
// While the process has a single thread the count is changed without the bus lock, as the standard
// library's shared pointers do; with more threads it is atomic. Nothing else about a shared object
// is.

#pragma once

#include <atomic>
#include <cassert>
#include <cstdint>
#include <type_traits>
#include <utility>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define REASONER_SINGLE_THREADED (__libc_single_threaded != 0)
#else
#define REASONER_SINGLE_THREADED false
#endif

namespace reasoner {

// Adds `change` to `count` and gives the new value.
inline std::int32_t ChangeCount(std::atomic<std::int32_t>& count, std::int32_t change) noexcept {
  if (REASONER_SINGLE_THREADED) {
    const std::int32_t now = count.load(std::memory_order_relaxed) + change;
    count.store(now, std::memory_order_relaxed);
    return now;
  }
  return count.fetch_add(change, std::memory_order_acq_rel) + change;
}

class IInterface {
 public:
  IInterface(const IInterface&) = delete;
  IInterface& operator=(const IInterface&) = delete;

  void AddRef() const noexcept { ChangeCount(count_, 1); }
  void Release() const noexcept {
    if (ChangeCount(count_, -1) == 0) End(this);
  }

  // Gives the count back without ending the object: for a constructor that lent itself a reference.
  void ReleaseWithoutEnd() const noexcept { ChangeCount(count_, -1); }

  std::int32_t GetRefCount() const noexcept { return count_.load(std::memory_order_relaxed); }

  // How many counted objects exist now, constants apart. Tests use it to prove that an engine
  // leaves nothing behind.
  static std::int64_t LiveObjects() noexcept;

 protected:
  IInterface() noexcept { CountLive(1); }
  virtual ~IInterface();

  // Makes the object a constant of the process: never ended, not among the live objects.
  void MakeImmortal() noexcept;

 private:
  static void End(const IInterface* object) noexcept;
  static void CountLive(std::int32_t change) noexcept;

  mutable std::atomic<std::int32_t> count_{0};  // a new object has no holder yet
};

template <class T>
class Ref {
 public:
  Ref() noexcept = default;
  Ref(std::nullptr_t) noexcept {}
  Ref(T* object) noexcept : object_(object) {  // NOLINT: a new object is handed to its first holder
    if (object_ != nullptr) object_->AddRef();
  }
  Ref(const Ref& other) noexcept : Ref(other.object_) {}
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(const Ref<U>& other) noexcept : Ref(other.get()) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(Ref<U>&& other) noexcept : object_(other.Detach()) {}
  ~Ref() {
    if (object_ != nullptr) object_->Release();
  }

  // The new object is taken before the old one goes: the old one may be what keeps the new one
  // alive.
  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  T* get() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  T* operator->() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  // Hands the object and its count to the caller.
  T* Detach() noexcept { return std::exchange(object_, nullptr); }
  // Takes over an object with a count that the caller gives up.
  static Ref Adopt(T* object) noexcept {
    Ref ref;
    ref.object_ = object;
    return ref;
  }

  friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.object_ == b.object_; }
  friend bool operator==(const Ref& a, const T* b) noexcept { return a.object_ == b; }
  friend bool operator==(const Ref& a, std::nullptr_t) noexcept { return a.object_ == nullptr; }

 private:
  T* object_ = nullptr;
};

// The one place where counted objects are made.
template <class T, class... TArgs>
Ref<T> Make(TArgs&&... args) {
  Ref<T> object(new T(std::forward<TArgs>(args)...));
  if constexpr (requires(T & made) { made.AfterConstruction(); }) object->AfterConstruction();
  return object;
}

}  // namespace reasoner
