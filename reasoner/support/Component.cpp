#include "reasoner/support/Component.h"

#include <algorithm>

#include "reasoner/support/Exception.h"

namespace reasoner {

namespace {

bool Contains(const std::vector<TComponent*>& list, const TComponent& component) {
  return std::find(list.begin(), list.end(), &component) != list.end();
}

// Searches from the back: what came last goes first as a rule.
void Unlist(std::vector<TComponent*>& list, const TComponent& component) noexcept {
  const auto found = std::find(list.rbegin(), list.rend(), &component);
  if (found != list.rend()) list.erase(std::next(found).base());
}

}  // namespace

TComponent::TComponent(TComponent* owner) {
  if (owner != nullptr) owner->InsertComponent(*this);
}

TComponent::~TComponent() {
  BeginDestruction();
  DestroyComponents();
  if (owner_ != nullptr) Unlist(owner_->components_, *this);
  for (TComponent* watched : watched_) Unlist(watched->watchers_, *this);
  // Who asked for word only after it had gone out gets none, but must not look for this one later.
  for (TComponent* watcher : watchers_) Unlist(watcher->watched_, *this);
  for (ComponentWatch* watch = watches_; watch != nullptr; watch = watch->next_)
    watch->component_ = nullptr;
}

TComponent* TComponent::FindComponent(const std::string& name) const {
  for (TComponent* component : components_) {
    if (component->name_ == name) return component;
  }
  return nullptr;
}

void TComponent::InsertComponent(TComponent& component) {
  if (component.owner_ == this) return;
  for (const TComponent* owner = this; owner != nullptr; owner = owner->owner_) {
    if (owner == &component) throw EKitException("A component cannot own its owner");
  }
  components_.push_back(&component);
  try {
    if (component.owner_ != nullptr) component.owner_->RemoveComponent(component);
    component.owner_ = this;
    Notification(component, opInsert);
  } catch (...) {
    // The component may be under construction, and then no destructor would take it off the list.
    Unlist(components_, component);
    if (component.owner_ == this) component.owner_ = nullptr;
    throw;
  }
}

void TComponent::RemoveComponent(TComponent& component) {
  if (component.owner_ != this) return;
  Unlist(components_, component);
  component.owner_ = nullptr;
  if (!component.destroying_) Notification(component, opRemove);
}

void TComponent::FreeNotification(TComponent& listener) {
  if (&listener == this) return;
  const bool known = watchers_.size() < listener.watched_.size()
                         ? Contains(watchers_, listener)
                         : Contains(listener.watched_, *this);
  if (known) return;
  watchers_.push_back(&listener);
  try {
    listener.watched_.push_back(this);
  } catch (...) {
    watchers_.pop_back();
    throw;
  }
}

void TComponent::RemoveFreeNotification(TComponent& listener) {
  Unlist(watchers_, listener);
  Unlist(listener.watched_, *this);
}

void TComponent::Notification(TComponent& /*component*/, TOperation /*operation*/) {}

void TComponent::BeginDestruction() {
  if (destroying_) return;
  destroying_ = true;
  if (owner_ != nullptr) {
    RemoveFreeNotification(*owner_);  // an owner that watches too hears of it once
    owner_->Notification(*this, opRemove);
  }
  // Each watcher is off the list before it hears, so that it may end itself or any other watcher.
  std::reverse(watchers_.begin(), watchers_.end());
  while (!watchers_.empty()) {
    TComponent* const watcher = watchers_.back();
    watchers_.pop_back();
    Unlist(watcher->watched_, *this);
    watcher->Notification(*this, opRemove);
  }
}

ComponentWatch::ComponentWatch(const TComponent& component) noexcept
    : component_(&component), next_(component.watches_), link_(&component.watches_) {
  component.watches_ = this;
  if (next_ != nullptr) next_->link_ = &next_;
}

ComponentWatch::~ComponentWatch() {
  if (component_ == nullptr) return;
  *link_ = next_;
  if (next_ != nullptr) next_->link_ = link_;
}

void TComponent::DestroyComponents() {
  while (!components_.empty()) {
    TComponent* const component = components_.back();
    if (component->destroying_) {
      // Its own end is under way further up and led here.
      components_.pop_back();
      component->owner_ = nullptr;
    } else {
      delete component;
    }
  }
}

}  // namespace reasoner
