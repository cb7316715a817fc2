// Event: a host's slot, and a list of listeners behind it.
//
// The slot is used like a std::function: assigned from a callable, emptied with nullptr, tested,
// copied and called. There is one, and it belongs to the host. Tracers, tests and extensions use
// Subscribe: any number of listeners may be there at once, and none of them changes the slot. A
// listener ends with its Subscription.
//
// A call runs the slot first and then the listeners in the order in which they came. Handlers may
// do anything to the event meanwhile:
//   - what the call has begun with is kept until it is over, so that a handler may assign the slot
//     that runs, end its own subscription, or end the object that has the event as its member;
//   - a new slot or a new listener is called from the next call on;
//   - a listener that ends meanwhile is not called any more, and neither is any listener once the
//     event itself has ended.
// If handlers raise, the others are called all the same, and the first failure is raised at the
// end. A parameter that is a non-const reference is for the slot to set: listeners see what it has
// set.
//
// A call of an event that has neither slot nor listener costs one branch.

#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "reasoner/support/FirstFailure.h"

namespace reasoner {

// A listener's place in an event's list.
class EventListener {
 public:
  EventListener() = default;
  virtual ~EventListener() = default;
  EventListener(const EventListener&) = delete;
  EventListener& operator=(const EventListener&) = delete;

  virtual void End() noexcept = 0;
  virtual bool IsActive() const noexcept = 0;
};

// Keeps a listener in its event's list: it leaves the list when the subscription ends, by End, by
// its destructor or by taking another one. It may outlive the event.
class [[nodiscard]] Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::shared_ptr<EventListener> listener) noexcept
      : listener_(std::move(listener)) {}
  Subscription(Subscription&& other) noexcept = default;
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      End();
      listener_ = std::move(other.listener_);
    }
    return *this;
  }
  ~Subscription() { End(); }

  void End() noexcept {
    if (const std::shared_ptr<EventListener> listener = std::move(listener_)) listener->End();
  }
  // True while the listener is in the list of an event.
  bool IsActive() const noexcept { return listener_ != nullptr && listener_->IsActive(); }

 private:
  std::shared_ptr<EventListener> listener_;
};

template <class TSignature>
class Event;

template <class... TArgs>
class Event<void(TArgs...)> {
 public:
  using Handler = std::function<void(TArgs...)>;

  Event() = default;
  Event(std::nullptr_t) noexcept {}  // NOLINT: an empty slot, as with std::function
  template <class TCallable>
  requires(!std::same_as<std::remove_cvref_t<TCallable>, Event> &&
           std::constructible_from<Handler, TCallable>)
      Event(TCallable&& handler) {  // NOLINT: implicit, as with std::function
    SetCallable(std::forward<TCallable>(handler));
  }
  // Copies and moves are of the slot alone: listeners stay with the event that they listen to.
  Event(const Event& other) { SetSlot(other.GetSlot()); }
  Event(Event&& other) : Event(std::as_const(other)) { other.SetSlot(nullptr); }
  ~Event() { Close(); }

  Event& operator=(const Event& other) {
    SetSlot(other.GetSlot());
    return *this;
  }
  Event& operator=(Event&& other) {
    if (this == &other) return *this;
    SetSlot(other.GetSlot());
    other.SetSlot(nullptr);
    return *this;
  }
  Event& operator=(std::nullptr_t) {
    SetSlot(nullptr);
    return *this;
  }
  template <class TCallable>
  requires(!std::same_as<std::remove_cvref_t<TCallable>, Event> &&
           std::constructible_from<Handler, TCallable>) Event&
  operator=(TCallable&& handler) {
    SetCallable(std::forward<TCallable>(handler));
    return *this;
  }

  // Whether the slot is assigned.
  explicit operator bool() const noexcept { return HasHandler(); }
  bool operator==(std::nullptr_t) const noexcept { return !HasHandler(); }
  bool HasHandler() const noexcept { return state_ != nullptr && state_->slot != nullptr; }
  // Whether a call reaches anything: the slot or a listener.
  bool IsHeard() const noexcept { return state_ != nullptr; }

  // Adds a listener, which is called until the subscription ends.
  Subscription Subscribe(Handler handler) {
    auto listener = std::make_shared<Listener>(this, std::move(handler));
    State state = CopyState();
    state.listeners.push_back(listener);
    Publish(std::move(state));
    return Subscription(std::move(listener));
  }

  void operator()(TArgs... args) const {
    if (state_ != nullptr) Call([] { return true; }, args...);
  }
  // The same as long as `is_valid()` holds, which is asked before each handler: for events whose
  // handlers may end what the arguments refer to.
  template <class TPredicate>
  void CallWhile(TPredicate is_valid, TArgs... args) const {
    if (state_ != nullptr) Call(is_valid, args...);
  }

  // Empties the slot and ends all listeners.
  void Close() noexcept {
    const std::shared_ptr<const State> state = std::move(state_);
    state_ = nullptr;
    if (state == nullptr) return;
    for (const std::shared_ptr<Listener>& listener : state->listeners) listener->event = nullptr;
  }

 private:
  struct Listener final : EventListener {
    Listener(Event* listened, Handler called) : event(listened), handler(std::move(called)) {}
    void End() noexcept override {
      if (Event* const listened = std::exchange(event, nullptr)) listened->Unlist();
    }
    bool IsActive() const noexcept override { return event != nullptr; }

    Event* event;  // null once the listener or the event has ended
    Handler handler;
  };

  // Never changed once it is published: a call keeps the one that it has begun with.
  struct State {
    std::shared_ptr<const Handler> slot;
    std::vector<std::shared_ptr<Listener>> listeners;
  };

  std::shared_ptr<const Handler> GetSlot() const noexcept {
    return state_ == nullptr ? nullptr : state_->slot;
  }
  State CopyState() const { return state_ == nullptr ? State() : *state_; }

  template <class TCallable>
  void SetCallable(TCallable&& callable) {
    if constexpr (std::same_as<std::remove_cvref_t<TCallable>, Handler>) {
      // It may be a copy of an event that was kept in a std::function.
      if (const Event* event = callable.template target<Event>()) return SetSlot(event->GetSlot());
    }
    Handler handler(std::forward<TCallable>(callable));
    SetSlot(handler ? std::make_shared<const Handler>(std::move(handler)) : nullptr);
  }

  void SetSlot(std::shared_ptr<const Handler> slot) {
    if (slot == GetSlot()) return;
    State state = CopyState();
    state.slot = std::move(slot);
    Publish(std::move(state));
  }

  void Publish(State&& state) {
    const bool is_empty = state.slot == nullptr && state.listeners.empty();
    std::shared_ptr<const State> published =
        is_empty ? nullptr : std::make_shared<const State>(std::move(state));
    state_.swap(published);  // the old handlers end when the event has its new state
  }

  // Takes the listeners that have ended off the list.
  void Unlist() noexcept {
    try {
      State state = CopyState();
      std::erase_if(state.listeners, [](const auto& listener) { return !listener->IsActive(); });
      Publish(std::move(state));
    } catch (const std::bad_alloc&) {
      // They stay in the list, where calls pass over them.
    }
  }

  template <class TPredicate>
  void Call(const TPredicate& is_valid, TArgs... args) const {
    // The event may end during the call: only the state is used from here on.
    const std::shared_ptr<const State> state = state_;
    if (state->listeners.empty()) {
      if (is_valid()) (*state->slot)(args...);
      return;
    }
    FirstFailure failures;
    if (state->slot != nullptr && is_valid()) failures.Try([&] { (*state->slot)(args...); });
    for (const std::shared_ptr<Listener>& listener : state->listeners) {
      if (listener->IsActive() && is_valid()) failures.Try([&] { listener->handler(args...); });
    }
    failures.Raise();
  }

  std::shared_ptr<const State> state_;  // null when there is neither slot nor listener
};

}  // namespace reasoner
