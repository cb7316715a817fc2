// TComponent: ownership by a parent, a name, and word of the end.
//
// An owner deletes what it still owns when it dies, the last one first. A component may as well be
// a plain object, a member or in a unique_ptr with no owner or with one: its death takes it off its
// owner's list.
//
// Whoever refers to a component that may die earlier calls its `FreeNotification(self)`; at the
// start of the destruction `Notification(component, opRemove)` then runs on the owner and on
// everyone who asked. A class that others recognise by its type calls `BeginDestruction()` first in
// its own destructor, while it still is of that type.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "reasoner/support/Object.h"

namespace reasoner {

class ComponentWatch;

enum TOperation : std::uint8_t { opInsert, opRemove };

class TComponent : public TPersistent {
 public:
  explicit TComponent(TComponent* owner = nullptr);
  ~TComponent() override;

  TComponent* GetOwner() const noexcept { return owner_; }
  const std::string& GetName() const noexcept { return name_; }
  void SetName(std::string name) { name_ = std::move(name); }

  std::size_t GetComponentCount() const noexcept { return components_.size(); }
  TComponent& GetComponent(std::size_t index) const { return *components_.at(index); }
  // The owned component of that name (exact), or null.
  TComponent* FindComponent(const std::string& name) const;

  // Gives the component to this owner, taking it from its present one.
  void InsertComponent(TComponent& component);
  // Takes the component off this owner's list without ending it.
  void RemoveComponent(TComponent& component);

  // True from the start of the destruction on (csDestroying).
  bool IsDestroying() const noexcept { return destroying_; }

  // `listener` is told when this component dies, and the other way round forgets it when it dies
  // itself.
  void FreeNotification(TComponent& listener);
  void RemoveFreeNotification(TComponent& listener);

  // A component that this one owns or watches comes or goes. Overrides call the inherited one
  // first.
  virtual void Notification(TComponent& component, TOperation operation);

 protected:
  // Marks the component as being destroyed and sends the word. Does nothing the second time.
  void BeginDestruction();
  // Deletes what is owned, the last first.
  void DestroyComponents();

 private:
  friend class ComponentWatch;

  TComponent* owner_ = nullptr;  // outlives this component, or takes it along
  std::string name_;
  std::vector<TComponent*> components_;  // owned
  std::vector<TComponent*> watchers_;    // who asked for word of this one's end
  std::vector<TComponent*> watched_;  // the other end: on whose lists of watchers this one stands
  mutable ComponentWatch* watches_ = nullptr;  // the first of a list
  bool destroying_ = false;
};

// Tells code that calls out whether the component that it works with has ended meanwhile.
class ComponentWatch {
 public:
  explicit ComponentWatch(const TComponent& component) noexcept;
  ~ComponentWatch();
  ComponentWatch(const ComponentWatch&) = delete;
  ComponentWatch& operator=(const ComponentWatch&) = delete;

  bool HasEnded() const noexcept { return component_ == nullptr; }

 private:
  friend class TComponent;

  const TComponent* component_;  // null once it has ended
  ComponentWatch* next_;         // in the component's list
  ComponentWatch** link_;        // what points at this one: the list's head or another's `next_`
};

}  // namespace reasoner
