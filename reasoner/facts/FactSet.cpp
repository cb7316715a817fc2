#include "reasoner/facts/FactSet.h"

#include <memory>

#include "reasoner/support/FirstFailure.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

TFactSet::TFactSet(TComponent* owner) : TComponent(owner) {
  if (dynamic_cast<IReasoner*>(owner) != nullptr) SetEngine(owner);
}

TFactSet::~TFactSet() {
  BeginDestruction();
  SetEngineNoParse(nullptr);
}

void TFactSet::SetFactSetName(std::string_view name) {
  if (name == fact_set_name_) return;
  if (IReasoner* reasoner = Reasoner()) reasoner->CheckFactSetName(*this, name);
  fact_set_name_ = name;
}

void TFactSet::SetEngineNoParse(TComponent* engine) {
  if (engine == engine_) return;
  TComponent* old = engine_;
  IReasoner* old_reasoner = Reasoner();
  engine_ = engine;
  auto* reasoner = dynamic_cast<IReasoner*>(engine);
  reasoner_ = reasoner == nullptr ? Ref<TReasonerLink>() : reasoner->GetLink();
  if (old != nullptr && !old->IsDestroying()) {
    if (old_reasoner != nullptr) old_reasoner->LeaveFactSet(*this);
    old->RemoveFreeNotification(*this);
  }
  if (engine_ != nullptr) engine_->FreeNotification(*this);
}

void TFactSet::SetEngine(TComponent* engine) {
  if (engine == engine_) return;
  SetEngineNoParse(engine);
  if (IReasoner* reasoner = Reasoner()) {
    bool is_entered = false;
    try {
      is_entered = reasoner->EnterFactSet(*this);
    } catch (...) {
      SetEngineNoParse(nullptr);
      throw;
    }
    if (!is_entered) return SetEngineNoParse(nullptr);
    for (std::int32_t i = 0; i < GetCount(); ++i)
      LineAt(i).fact = reasoner->ParseFactText(LineAt(i).text);
  } else {
    for (TLine& line : lines_) line.fact = nullptr;
  }
}

TFactSet::TLine& TFactSet::LineAt(std::int32_t index) {
  if (index < 0 || index >= GetCount()) Raise(SListIndexError, index);
  return lines_[static_cast<std::size_t>(index)];
}

// The fact as a set of an engine holds it: one of another engine is read from its line.
static Ref<IFact> OwnFact(IReasoner* engine, const std::string& line, const Ref<IFact>& fact) {
  const bool is_foreign = engine != nullptr && fact->GetTemplate() &&
                          fact->GetTemplate()->GetReasoner() != nullptr &&
                          fact->GetTemplate()->GetReasoner() != engine;
  if (!is_foreign) return fact;
  if (!engine->FindFactTemplate(fact->GetTemplate()->GetTemplateName()))
    engine->EnterTemplate(fact->GetTemplate());  // which takes a copy
  return engine->ParseFactText(line);
}

// The line of a fact: what reads back as it is, where there is an engine to print it.
static std::string LineOf(const IFact& fact) {
  IReasoner* const reasoner = fact.GetTemplate() ? fact.GetTemplate()->GetReasoner() : nullptr;
  return reasoner == nullptr ? fact.ToString() : reasoner->PrintFactLine(fact);
}

std::int32_t TFactSet::AddFact(const Ref<IFact>& fact) {
  const std::string line = LineOf(Given(fact, "fact"));
  lines_.push_back(TLine{line, OwnFact(Reasoner(), line, fact)});
  return GetCount() - 1;
}

Ref<IFact> TFactSet::GetFact(std::int32_t index) {
  if (IReasoner* reasoner = Reasoner(); reasoner != nullptr && !LineAt(index).fact) {
    const Ref<IFact> fact = reasoner->ParseFactText(LineAt(index).text);
    LineAt(index).fact = fact;
  }
  return LineAt(index).fact;
}

void TFactSet::SetFact(std::int32_t index, const Ref<IFact>& fact) {
  TLine& line = LineAt(index);
  line.fact = fact ? OwnFact(Reasoner(), LineOf(*fact), fact) : fact;
}

void TFactSet::SetFacts(const std::vector<std::string>& texts) {
  std::vector<TLine> lines;
  IReasoner* reasoner = Reasoner();
  for (const std::string& text : texts) {
    lines.push_back(
        TLine{text, reasoner == nullptr ? Ref<IFact>() : reasoner->ParseFactText(text)});
  }
  lines_.swap(lines);
}

std::int32_t TFactSet::IndexOf(const IFact& fact) const {
  for (std::int32_t i = 0; i < GetCount(); ++i) {
    if (lines_[static_cast<std::size_t>(i)].fact == &fact) return i;
  }
  return -1;
}

std::int32_t TFactSet::Remove(const IFact& fact) {
  const std::int32_t index = IndexOf(fact);
  if (index >= 0) lines_.erase(lines_.begin() + index);
  return index;
}

void TFactSet::Delete(std::int32_t index) {
  LineAt(index);
  lines_.erase(lines_.begin() + index);
}

// Every fact gets its turn, whatever fails in another one or in the rules that match it.
void TFactSet::Reset() {
  FirstFailure failures;
  for (std::int32_t i = 0; i < GetCount(); ++i) {
    IReasoner* reasoner = Reasoner();  // asked anew: a handler may take the set away
    if (reasoner == nullptr) break;
    Ref<IFact> fact;
    try {
      fact = GetFact(i);
      if (!fact) continue;
      fact = fact->Clone();
    } catch (const EKBException&) {
      continue;
    }
    failures.Try([&] {
      try {
        reasoner->AssertResolved(fact);
      } catch (Exception& failure) {
        failure.AppendMessage(FillMessage(SInFactSet, fact_set_name_));
        throw;
      }
    });
  }
  failures.Raise();
}

void TFactSet::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TFactSet*>(&source);
  if (other == nullptr) return TComponent::Assign(source);
  if (other == this) return;
  SetFactSetName(other->fact_set_name_);
  Comment = other->Comment;
  auto* reasoner = dynamic_cast<IReasoner*>(GetOwner());
  std::vector<TLine> lines;
  for (const TLine& line : other->lines_) {
    if (!line.fact) {
      lines.push_back(line);
    } else if (reasoner != nullptr) {
      lines.push_back(TLine{line.text, reasoner->ParseFactText(LineOf(*line.fact))});
    } else {
      lines.push_back(TLine{line.text, line.fact->Clone()});
    }
  }
  lines_.swap(lines);
}

TFactSet* TFactSet::Clone(TComponent* owner) const {
  auto clone = std::make_unique<TFactSet>();
  if (owner != nullptr) owner->InsertComponent(*clone);
  clone->Assign(*this);
  return clone.release();
}

void TFactSet::Notification(TComponent& component, TOperation operation) {
  TComponent::Notification(component, operation);
  if (operation == opRemove && &component == engine_) SetEngine(nullptr);
}

std::string TFactSet::ToString() const {
  if (IReasoner* reasoner = Reasoner()) return reasoner->PrettyPrint(*this);
  std::string text;
  for (const TLine& line : lines_) text += line.text + std::string(NewLineString);
  return text;
}

}  // namespace reasoner
