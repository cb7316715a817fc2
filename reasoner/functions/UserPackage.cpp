#include "reasoner/functions/UserPackage.h"

#include <algorithm>

#include "reasoner/support/FirstFailure.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

const Ref<IUserFunction>& TUserFunctionList::GetItem(std::int32_t index) const {
  if (index < 0 || index >= GetCount()) Raise(SListIndexError, index);
  return items_[static_cast<std::size_t>(index)];
}

std::int32_t TUserFunctionList::Add(const Ref<IUserFunction>& function) {
  if (!function) Raise(SInvalidFunctionAdd);
  const std::int32_t index = IndexOf(*function);
  if (index >= 0) return index;
  Insert(GetCount(), function);
  return GetCount() - 1;
}

void TUserFunctionList::Insert(std::int32_t index, const Ref<IUserFunction>& function) {
  if (!function) Raise(SInvalidFunctionAdd);
  if (index < 0 || index > GetCount()) Raise(SListIndexError, index);
  items_.insert(items_.begin() + index, function);
  owner_.FunctionNotification(*function, lnAdded);
}

std::int32_t TUserFunctionList::Remove(const IUserFunction& function) {
  const std::int32_t index = IndexOf(function);
  if (index < 0) return index;
  const Ref<IUserFunction> removed = GetItem(index);
  items_.erase(items_.begin() + index);
  owner_.FunctionNotification(*removed, lnExtracted);
  return index;
}

std::int32_t TUserFunctionList::IndexOf(const IUserFunction& function) const {
  const auto found =
      std::find_if(items_.begin(), items_.end(),
                   [&function](const Ref<IUserFunction>& item) { return item == &function; });
  return found == items_.end() ? -1 : static_cast<std::int32_t>(found - items_.begin());
}

void TUserFunctionList::Clear() {
  FirstFailure failures;
  while (!items_.empty()) failures.Try([this] { Remove(*items_.back()); });
  failures.Raise();
}

std::string TUserFunctionList::ToString() const {
  std::string text;
  for (const Ref<IUserFunction>& function : items_) {
    text += function->GetFunctionName().view();
    text += NewLineString;
  }
  return text;
}

IReasoner& TCustomReasonerOwner::GetReasoner(std::int32_t index) const {
  if (index < 0 || index >= GetReasonerCount()) Raise(SListIndexError, index);
  return *reasoners_[static_cast<std::size_t>(index)];
}

std::int32_t TCustomReasonerOwner::IndexOfReasoner(const IReasoner& reasoner) const {
  const auto found = std::find(reasoners_.begin(), reasoners_.end(), &reasoner);
  return found == reasoners_.end() ? -1 : static_cast<std::int32_t>(found - reasoners_.begin());
}

void TCustomReasonerOwner::AddReasoner(IReasoner& reasoner) {
  if (IndexOfReasoner(reasoner) >= 0) return;
  reasoners_.push_back(&reasoner);
  reasoner.AsComponent().FreeNotification(*this);
  ReasonerNotification(reasoner, lnAdded);
}

void TCustomReasonerOwner::RemoveReasoner(IReasoner& reasoner) {
  const std::int32_t index = IndexOfReasoner(reasoner);
  if (index < 0) return;
  reasoners_.erase(reasoners_.begin() + index);
  ReasonerNotification(reasoner, lnExtracted);
}

void TCustomReasonerOwner::ClearReasoners() {
  FirstFailure failures;
  while (!reasoners_.empty()) failures.Try([this] { RemoveReasoner(*reasoners_.back()); });
  failures.Raise();
}

void TCustomReasonerOwner::Notification(TComponent& component, TOperation operation) {
  TComponent::Notification(component, operation);
  if (operation != opRemove) return;
  if (auto* reasoner = dynamic_cast<IReasoner*>(&component)) RemoveReasoner(*reasoner);
}

TUserPackage::TUserPackage(TComponent* owner) : TCustomReasonerOwner(owner) {
  if (auto* reasoner = dynamic_cast<IReasoner*>(owner)) AddReasoner(*reasoner);
}

TUserPackage::~TUserPackage() {
  BeginDestruction();
  FirstFailure().Try([this] { ClearReasoners(); });  // a destructor's failures go nowhere
  FirstFailure().Try([this] { functions_.Clear(); });
}

std::int32_t TUserPackage::IndexOf(std::string_view name) const {
  for (std::int32_t i = 0; i < functions_.GetCount(); ++i) {
    if (functions_.GetItem(i)->GetFunctionName() == name) return i;
  }
  return -1;
}

void TUserPackage::SetEngine(IReasoner* engine) {
  if (engine == engine_) return;
  IReasoner* old = engine_;
  engine_ = engine;
  if (old != nullptr) RemoveReasoner(*old);
  if (engine != nullptr) AddReasoner(*engine);
}

void TUserPackage::CreateFunctions() { OnCreateFunctions(*this); }

void TUserPackage::Rebuild() {
  functions_.Clear();
  CreateFunctions();
}

void TUserPackage::Assign(const TPersistent& source) {
  const auto* package = dynamic_cast<const TUserPackage*>(&source);
  if (package == nullptr) return TCustomReasonerOwner::Assign(source);
  if (package == this) return;
  functions_.Clear();
  for (const Ref<IUserFunction>& function : package->functions_) functions_.Add(function);
}

void TUserPackage::Notification(TComponent& component, TOperation operation) {
  TCustomReasonerOwner::Notification(component, operation);
  if (operation == opRemove && engine_ != nullptr && &engine_->AsComponent() == &component)
    engine_ = nullptr;
}

void TUserPackage::ReasonerNotification(IReasoner& reasoner, TListNotification action) {
  // Handlers may change the list, and raise: every function is told all the same.
  const std::vector<Ref<IUserFunction>> functions(functions_.begin(), functions_.end());
  FirstFailure failures;
  for (const Ref<IUserFunction>& function : functions) {
    failures.Try([&] {
      if (action != lnAdded) {
        function->DeleteReasoner(reasoner);
      } else if (functions_.IndexOf(*function) >= 0) {
        function->AddReasoner(reasoner);
      }
    });
  }
  if (action != lnAdded && engine_ == &reasoner) engine_ = nullptr;
  failures.Raise();
}

void TUserPackage::FunctionNotification(IUserFunction& function, TListNotification action) {
  const Ref<IUserFunction> kept(&function);
  FirstFailure failures;
  for (std::int32_t i = 0; i < GetReasonerCount(); ++i) {
    failures.Try([&] {
      if (action == lnAdded) {
        function.AddReasoner(GetReasoner(i));
      } else {
        function.DeleteReasoner(GetReasoner(i));
      }
    });
  }
  failures.Raise();
}

}  // namespace reasoner
