// TKBContext: one frame of evaluation.
//
// A frame gives variables their values, tells which fact and token a pattern's variable refers to,
// and carries a function's return value. Frames form a stack by their parent links; the bottom
// frame holds the global variables and belongs to the engine. A name that a frame does not have is
// looked up in the frame's outer one: its parent, or the bottom frame for the frame of a called
// function, which does not see the variables of its caller. Names are shared texts, so that finding
// one is as a rule a comparison of pointers.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "reasoner/facts/Fact.h"
#include "reasoner/support/Pool.h"
#include "reasoner/values/BindingInfo.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

// A variable: where its value lies in a match, or the value itself.
class TBinding final : public TBindingInfo, public Pooled {
 public:
  TBinding(Text name, std::int32_t fact_index, const Text& slot_index, std::int32_t sub_index)
      : TBindingInfo(fact_index, slot_index, sub_index), name_(std::move(name)) {}
  // A local binding.
  TBinding(Text name, Ref<IKBValue> value) : Value(std::move(value)), name_(std::move(name)) {}

  const Text& GetName() const noexcept { return name_; }
  // The same place, name and value.
  bool Equals(const TBinding& other) const;
  std::string ClassName() const override { return "TBinding"; }
  std::string ToString() const override;

  Ref<IKBValue> Value;

 private:
  Text name_;
};

class TKBContext : public TObject, public IScope {
 public:
  // Neither is owned; the parent outlives the frame. The match comes along from the parent.
  TKBContext(TKBContext* parent, IReasoner* engine);
  // A frame over a host's scope, which is asked for what neither the frame nor its parents have.
  TKBContext(TKBContext* parent, IReasoner* engine, IScope& host_scope);
  ~TKBContext() override;

  IReasoner* GetEngine() const noexcept { return engine_; }
  TKBContext* GetParent() const noexcept { return parent_; }
  // The frame where a name is looked up that this one does not have; null at the bottom.
  TKBContext* GetOuter() const noexcept { return outer_; }
  // From here on this frame and those above it see nothing between it and the bottom.
  void HideCallers() noexcept { outer_ = this == bottom_ ? nullptr : bottom_; }

  // The fact being joined and the match so far, or null.
  Ref<IFact> Fact;
  Ref<const IMatch> Token;

  // The first binding of the name from this frame outwards to the bottom, or null. Valid until that
  // frame's names change.
  TBinding* FindBinding(const Text& name) const;
  TBinding* FindOwnBinding(const Text& name) const;
  TBinding* FindGlobalBinding(const Text& name) const;
  // Raises "Unknown variable name: %s".
  const Ref<IKBValue>& GetVariable(const Text& name) const;
  // The names of this frame in the order in which they came.
  const std::vector<std::unique_ptr<TBinding>>& GetBindings() const noexcept { return bindings_; }

  // Replaces the value of the name where FindBinding finds it, else binds it here.
  void AddBinding(const Text& name, const Ref<IKBValue>& value);
  // Binds the name here to a place in the match.
  void AddBinding(const Text& name, std::int32_t fact_index, const Text& slot_index,
                  std::int32_t sub_index);
  // Binds the name here, hiding outer ones.
  void AddLocalBinding(const Text& name, const Ref<IKBValue>& value);
  // Binds the name at the bottom.
  void AddGlobalBinding(const Text& name, const Ref<IKBValue>& value);
  // Sets the name in this frame; outer frames are not looked at.
  void SetVariable(const Text& name, const Ref<IKBValue>& value);
  bool RemoveBinding(const Text& name);
  // Drops all bindings and the return value.
  void Clear();

  bool HasReturnValue() const noexcept { return return_flag_; }
  const Ref<IKBValue>& GetReturnValue() const noexcept { return return_value_; }
  void SetReturnValue(const Ref<IKBValue>& value);
  void ClearReturnValue();
  // Puts a flag and a value back as they were.
  void RestoreReturnValue(bool flag, const Ref<IKBValue>& value);

  // A new frame above this one.
  std::unique_ptr<TKBContext> Push();
  // Hands the return flag and value down; gives the frame below, or this one at the bottom.
  TKBContext& Pop();

  // A new flat list: each member evaluated, nested lists and multifield variables spliced in at
  // every level.
  Ref<IValueVector> ExpandList(const IValueVector& list);
  // A new flat list with nothing evaluated.
  static Ref<IValueVector> FlattenList(const IValueVector& list);
  // Evaluates the slots of a fact in place, in the order of the names. The fact gets cells of its
  // own.
  void Resolve(IFact& fact);

  // IScope
  Ref<IKBValue> FindValue(const Text& name) override;
  Ref<IKBValue> ReadMatch(const TBindingInfo& info) override;
  [[noreturn]] void RaiseUnknown(const Text& name) const override;

 private:
  TBinding& Put(std::unique_ptr<TBinding> binding);
  void ExpandInto(IValueVector& target, const IValueVector& list);

  bool return_flag_ = false;
  Ref<IKBValue> return_value_;
  IReasoner* engine_;
  TKBContext* parent_;
  TKBContext* outer_;
  TKBContext* bottom_;
  IScope* host_scope_ = nullptr;
  std::vector<std::unique_ptr<TBinding>> bindings_;
  // Only for frames with many names, as the bottom one may have.
  std::unique_ptr<std::unordered_map<std::string_view, std::size_t>> index_;
};

// Sets a frame's match for a scope and empties it on every way out.
class ScopedMatch {
 public:
  ScopedMatch(TKBContext& context, Ref<const IMatch> token, Ref<IFact> fact) : context_(context) {
    context_.Token = std::move(token);
    context_.Fact = std::move(fact);
  }
  ~ScopedMatch() {
    context_.Token = nullptr;
    context_.Fact = nullptr;
  }
  ScopedMatch(const ScopedMatch&) = delete;
  ScopedMatch& operator=(const ScopedMatch&) = delete;

 private:
  TKBContext& context_;
};

}  // namespace reasoner
