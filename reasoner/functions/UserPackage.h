// TUserPackage: functions that come and go together, tied to any number of engines.
//
// The wiring works both ways: a function added to the package is registered with each of its
// engines, and an engine added to the package gets each of its functions.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/functions/UserFunction.h"
#include "reasoner/support/Component.h"
#include "reasoner/support/Event.h"
#include "reasoner/support/FirstFailure.h"

namespace reasoner {

class TUserPackage;

// The functions of a package, each once.
class TUserFunctionList {
 public:
  explicit TUserFunctionList(TUserPackage& owner) : owner_(owner) {}

  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(items_.size()); }
  const Ref<IUserFunction>& GetItem(std::int32_t index) const;
  std::int32_t Add(const Ref<IUserFunction>&
                       function);  // the index; one that is there already stays where it is
  void Insert(std::int32_t index, const Ref<IUserFunction>& function);
  std::int32_t Remove(const IUserFunction& function);  // the index, or -1
  std::int32_t IndexOf(const IUserFunction& function) const;
  void Clear();
  // A new function of each class, in order.
  // Handlers of an engine's events may raise: all are added all the same.
  template <class... TFunctions>
  void AddNew() {
    FirstFailure failures;
    (failures.Try([this] { Add(Make<TFunctions>()); }), ...);
    failures.Raise();
  }
  std::string ToString() const;  // a line a function

  std::vector<Ref<IUserFunction>>::const_iterator begin() const noexcept { return items_.begin(); }
  std::vector<Ref<IUserFunction>>::const_iterator end() const noexcept { return items_.end(); }

 private:
  TUserPackage& owner_;  // holds this list
  std::vector<Ref<IUserFunction>> items_;
};

// A component with a list of engines.
class TCustomReasonerOwner : public TComponent {
 public:
  explicit TCustomReasonerOwner(TComponent* owner = nullptr) : TComponent(owner) {}

  std::int32_t GetReasonerCount() const noexcept {
    return static_cast<std::int32_t>(reasoners_.size());
  }
  IReasoner& GetReasoner(std::int32_t index) const;
  std::int32_t IndexOfReasoner(const IReasoner& reasoner) const;
  void AddReasoner(IReasoner& reasoner);
  void RemoveReasoner(IReasoner& reasoner);
  void ClearReasoners();

  void Notification(TComponent& component, TOperation operation) override;

 protected:
  virtual void ReasonerNotification(IReasoner&, TListNotification) {}

 private:
  std::vector<IReasoner*> reasoners_;  // watched as components
};

// A host derives from it and overrides CreateFunctions, or assigns OnCreateFunctions and then calls
// Rebuild. A derived class that overrides CreateFunctions calls Rebuild at the end of its
// constructor.
class TUserPackage : public TCustomReasonerOwner {
 public:
  // An engine as owner is one of the package's engines from the start.
  explicit TUserPackage(TComponent* owner = nullptr);
  ~TUserPackage() override;

  std::string ClassName() const override { return "TUserPackage"; }
  TUserFunctionList& GetFunctions() noexcept { return functions_; }
  // The first function of that name, or -1.
  std::int32_t IndexOf(std::string_view name) const;
  // An engine beside those in the list of engines, for hosts that want one property.
  IReasoner* GetEngine() const noexcept { return engine_; }
  void SetEngine(IReasoner* engine);
  // Empties the list of functions and creates them anew.
  void Rebuild();

  void Assign(const TPersistent& source) override;
  void Notification(TComponent& component, TOperation operation) override;

  Event<void(TUserPackage& sender)> OnCreateFunctions;

 protected:
  // Adds the package's functions. Overrides call the inherited one first.
  virtual void CreateFunctions();
  void ReasonerNotification(IReasoner& reasoner, TListNotification action) override;

 private:
  friend class TUserFunctionList;

  void FunctionNotification(IUserFunction& function, TListNotification action);

  TUserFunctionList functions_{*this};
  IReasoner* engine_ = nullptr;
};

// The engine's own packages: declared here, defined where the functions are. The package belongs to
// `engine`.
TUserPackage* MakePackage(TFunctionPackage package, TComponent* engine);

}  // namespace reasoner
