// Steps that all have to be done, whichever of them fails: the first failure goes on when all are
// through.

#pragma once

#include <exception>
#include <utility>

namespace reasoner {

class FirstFailure {
 public:
  // Runs a step; what it raises is kept if it is the first.
  template <class TStep>
  void Try(TStep&& step) noexcept {
    try {
      std::forward<TStep>(step)();
    } catch (...) {
      Keep(std::current_exception());
    }
  }
  void Keep(std::exception_ptr failure) noexcept {
    if (!failure_) failure_ = std::move(failure);
  }
  bool IsEmpty() const noexcept { return failure_ == nullptr; }
  // Raises what was kept, if anything was.
  void Raise() {
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  }

 private:
  std::exception_ptr failure_;
};

}  // namespace reasoner
