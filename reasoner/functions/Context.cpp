#include "reasoner/functions/Context.h"

#include <algorithm>

#include "reasoner/support/Depth.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// A frame with more names than this is searched by hash.
static constexpr std::size_t kIndexedFrom = 16;

bool TBinding::Equals(const TBinding& other) const {
  if (!TBindingInfo::Equals(other) || !(name_ == other.name_)) return false;
  if (Value == other.Value) return true;
  return Value && other.Value && Value->Equals(*other.Value);
}

std::string TBinding::ToString() const {
  std::string text = "name=" + name_.str();
  if (Value) text += " value=" + Value->ToString();
  return text + " " + TBindingInfo::ToString();
}

TKBContext::TKBContext(TKBContext* parent, IReasoner* engine)
    : IScope(this),
      engine_(engine),
      parent_(parent),
      outer_(parent),
      bottom_(parent == nullptr ? this : parent->bottom_) {
  if (parent == nullptr) return;
  Fact = parent->Fact;
  Token = parent->Token;
}

TKBContext::TKBContext(TKBContext* parent, IReasoner* engine, IScope& host_scope)
    : TKBContext(parent, engine) {
  host_scope_ = &host_scope;
}

TKBContext::~TKBContext() = default;

TBinding* TKBContext::FindOwnBinding(const Text& name) const {
  if (index_) {
    const auto found = index_->find(name.view());
    return found == index_->end() ? nullptr : bindings_[found->second].get();
  }
  for (const std::unique_ptr<TBinding>& binding : bindings_) {
    if (binding->GetName() == name) return binding.get();
  }
  return nullptr;
}

TBinding* TKBContext::FindBinding(const Text& name) const {
  for (const TKBContext* frame = this; frame != nullptr; frame = frame->outer_) {
    if (TBinding* binding = frame->FindOwnBinding(name)) return binding;
  }
  return nullptr;
}

TBinding* TKBContext::FindGlobalBinding(const Text& name) const {
  return bottom_->FindOwnBinding(name);
}

const Ref<IKBValue>& TKBContext::GetVariable(const Text& name) const {
  const TBinding* binding = FindBinding(name);
  if (binding == nullptr) Raise(SUnknownVariable, name.view());
  return binding->Value;
}

TBinding& TKBContext::Put(std::unique_ptr<TBinding> binding) {
  TBinding& added = *binding;
  if (TBinding* old = FindOwnBinding(added.GetName())) {
    const auto place =
        std::find_if(bindings_.begin(), bindings_.end(),
                     [old](const std::unique_ptr<TBinding>& item) { return item.get() == old; });
    if (index_) index_->erase(old->GetName().view());
    std::swap(*place, binding);
    if (index_)
      index_->emplace(added.GetName().view(), static_cast<std::size_t>(place - bindings_.begin()));
    return added;
  }
  bindings_.push_back(std::move(binding));
  if (index_) {
    index_->emplace(added.GetName().view(), bindings_.size() - 1);
  } else if (bindings_.size() > kIndexedFrom) {
    index_ = std::make_unique<std::unordered_map<std::string_view, std::size_t>>();
    for (std::size_t i = 0; i < bindings_.size(); ++i)
      index_->emplace(bindings_[i]->GetName().view(), i);
  }
  return added;
}

void TKBContext::AddBinding(const Text& name, const Ref<IKBValue>& value) {
  if (TBinding* binding = FindBinding(name)) {
    binding->Value = value;
  } else {
    Put(std::make_unique<TBinding>(name, value));
  }
}

void TKBContext::AddBinding(const Text& name, std::int32_t fact_index, const Text& slot_index,
                            std::int32_t sub_index) {
  Put(std::make_unique<TBinding>(name, fact_index, slot_index, sub_index));
}

void TKBContext::AddLocalBinding(const Text& name, const Ref<IKBValue>& value) {
  Put(std::make_unique<TBinding>(name, value));
}

void TKBContext::AddGlobalBinding(const Text& name, const Ref<IKBValue>& value) {
  bottom_->SetVariable(name, value);
}

void TKBContext::SetVariable(const Text& name, const Ref<IKBValue>& value) {
  if (TBinding* binding = FindOwnBinding(name)) {
    binding->Value = value;
  } else {
    AddLocalBinding(name, value);
  }
}

bool TKBContext::RemoveBinding(const Text& name) {
  const TBinding* binding = FindOwnBinding(name);
  if (binding == nullptr) return false;
  const auto place = std::find_if(
      bindings_.begin(), bindings_.end(),
      [binding](const std::unique_ptr<TBinding>& item) { return item.get() == binding; });
  const std::unique_ptr<TBinding> doomed = std::move(*place);
  bindings_.erase(place);
  if (index_) {
    index_->clear();
    for (std::size_t i = 0; i < bindings_.size(); ++i)
      index_->emplace(bindings_[i]->GetName().view(), i);
  }
  return true;
}

void TKBContext::Clear() {
  index_.reset();
  std::vector<std::unique_ptr<TBinding>> doomed;
  doomed.swap(bindings_);
  ClearReturnValue();
}

void TKBContext::SetReturnValue(const Ref<IKBValue>& value) {
  return_value_ = value;
  return_flag_ = true;
}

void TKBContext::ClearReturnValue() {
  return_flag_ = false;
  return_value_ = nullptr;
}

void TKBContext::RestoreReturnValue(bool flag, const Ref<IKBValue>& value) {
  return_flag_ = flag;
  return_value_ = value;
}

std::unique_ptr<TKBContext> TKBContext::Push() {
  return std::make_unique<TKBContext>(this, engine_);
}

TKBContext& TKBContext::Pop() {
  if (parent_ == nullptr) return *this;
  parent_->return_flag_ = return_flag_;
  parent_->return_value_ = return_value_;
  return *parent_;
}

void TKBContext::ExpandInto(IValueVector& target, const IValueVector& list) {
  const DepthGuard guard("list");
  const Ref<const IValueVector> kept(&list);
  for (std::int32_t i = 0; i < list.GetValueCount(); ++i) {
    const Ref<IKBValue> member = list.GetItem(i);
    if (!member) continue;
    const Ref<IKBValue> value = member->Resolve(this);
    if (value->GetDType() == dtList) {
      ExpandInto(target, *value->GetAsList());
    } else {
      target.Add(value);
    }
  }
}

Ref<IValueVector> TKBContext::ExpandList(const IValueVector& list) {
  Ref<IValueVector> expanded = NewVector();
  ExpandInto(*expanded, list);
  return expanded;
}

static void FlattenInto(IValueVector& target, const IValueVector& list) {
  const DepthGuard guard("list");
  for (const Ref<IKBValue>& member : list) {
    if (member && member->GetDType() == dtList) {
      FlattenInto(target, *member->GetAsList());
    } else {
      target.Add(member);
    }
  }
}

Ref<IValueVector> TKBContext::FlattenList(const IValueVector& list) {
  Ref<IValueVector> flat = NewVector();
  FlattenInto(*flat, list);
  return flat;
}

void TKBContext::Resolve(IFact& fact) {
  if (!fact.GetTemplate()) Raise(SNoTemplate);
  const Ref<IFactTemplate> fact_template = fact.GetTemplate();
  const std::vector<Text> names = fact_template->GetSlotNames();  // a call may change the template
  const bool is_fuzzy = fact_template->IsFuzzy() && engine_ != nullptr;
  for (const Text& name : names) {
    const std::int32_t ordinal = fact_template->OrdinalOf(name);
    if (ordinal < 0) continue;
    const Ref<IKBValue> stored = fact.GetValueAt(ordinal);
    Ref<IKBValue> value = stored->Resolve(this);
    if (is_fuzzy && fact_template->SlotAt(ordinal)->IsFuzzy()) {
      const Ref<IFactSlot> slot(fact_template->SlotAt(ordinal));
      value = slot->EvalFuzzyValue(*engine_, value, *this);
    } else if (value->GetDType() == dtList) {
      // The fact's own cell and list, whoever else knows the one that was evaluated.
      const Ref<IValueVector> expanded = ExpandList(*value->GetAsList());
      Ref<IKBValue> own = NewList(expanded);
      own->SetTag(value->GetTag());
      value = std::move(own);
    } else if (value != stored) {
      value = value->Clone();
    }
    fact.SetValue(name, value);
  }
}

Ref<IKBValue> TKBContext::FindValue(const Text& name) {
  for (const TKBContext* frame = this; frame != nullptr; frame = frame->outer_) {
    if (const TBinding* binding = frame->FindOwnBinding(name)) return binding->Value;
    if (frame->host_scope_ == nullptr) continue;
    if (Ref<IKBValue> value = frame->host_scope_->FindValue(name)) return value;
  }
  return nullptr;
}

void TKBContext::RaiseUnknown(const Text& name) const {
  const bool is_literal = engine_ == nullptr || !engine_->GetLink()->textbook_semantics;
  if (is_literal) IScope::RaiseUnknown(name);
  Raise(SUnknownVariable, name.view());
}

Ref<IKBValue> TKBContext::ReadMatch(const TBindingInfo& info) {
  IFact* fact = nullptr;
  if (Fact && (!Token || info.FactIndex == Token->GetCount())) {
    fact = Fact.get();
  } else if (Token) {
    fact = Token->GetFacts(info.FactIndex);
  }
  if (fact == nullptr) {
    for (const TKBContext* frame = this; frame != nullptr; frame = frame->parent_) {
      if (frame->host_scope_ != nullptr) return frame->host_scope_->ReadMatch(info);
    }
    Raise(SNoContext, GetKBTypeName(dtObject));
  }
  if (info.SlotIndex == SPatternBinding) return NewFactId(fact->GetID());
  const Ref<IKBValue>& value = fact->GetValue(info.SlotIndex);
  if (info.SubIndex == NoSubIndex) return value;
  return value->GetAsList()->GetItem(info.SubIndex);
}

}  // namespace reasoner
