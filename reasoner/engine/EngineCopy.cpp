// Copies between engines: registry by registry, and the whole engine.
//
// Nothing is shared between two engines but functions that have no state: constructs are cloned
// where their objects belong to one engine alone, and read anew from their text where they refer to
// others.

#include <algorithm>
#include <typeinfo>
#include <utility>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/InterpretedFunction.h"

namespace reasoner {

static std::string NameOf(const IFactTemplate& item) { return item.GetTemplateName(); }
static std::string NameOf(const IKBDefinedType& item) { return item.GetName(); }

// Makes a registry hold what another engine's holds: `copy` makes an item of this engine of one of
// the source's, in whose order they are entered.
template <class TItem, class TRegistry, class TCopy>
static void MakeAlike(TRegistry& registry, const TRegistry& source,
                      const std::vector<TItem>& source_items, TCopy copy) {
  for (const std::string& name : registry.GetNames()) {
    if (!source.ContainsKey(name)) registry.Remove(name);
  }
  for (const TItem& item : source_items) {
    const TItem made = copy(*item);
    const TItem own = registry.Find(NameOf(*item));
    if (own && own->Equals(*made) && made->Equals(*own)) continue;
    if (own) {
      registry.Replace(own, made);
    } else {
      registry.Add(made);
    }
  }
}

void TFactTemplates::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TFactTemplates*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this) return;
  MakeAlike(*this, *other, other->GetParentsFirst(),
            [this](const IFactTemplate& item) { return CopyOf(item); });
}

Ref<IFactTemplate> TFactTemplates::CopyOf(const IFactTemplate& fact_template) const {
  Ref<IFactTemplate> copy = fact_template.Clone(&engine_);
  if (const Ref<IFactTemplate>& parent = fact_template.GetParent())
    copy->SetParent(Find(parent->GetTemplateName()));
  return copy;
}

void TKBDefinedTypes::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TKBDefinedTypes*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this) return;
  MakeAlike(*this, *other, other->GetAncestorsFirst(),
            [this](const IKBDefinedType& item) { return CopyOf(item); });
}

Ref<IKBDefinedType> TKBDefinedTypes::CopyOf(const IKBDefinedType& type) const {
  Ref<IKBDefinedType> copy = Make<TKBDefinedType>(&engine_);
  copy->Assign(type);
  if (type.GetAncestor()) copy->SetAncestor(Find(type.GetAncestor()->GetName()));
  return copy;
}

bool TUserFunctions::Assign(const TUserFunctions& source, bool tolerant) {
  if (&source == this) return true;
  std::vector<Ref<IUserFunction>> interpreted;
  for (const Ref<IUserFunction>& function : source.GetItems()) {
    if (dynamic_cast<const IInterpretedFunction*>(function.get()) != nullptr) {
      interpreted.push_back(function);
      continue;
    }
    const Ref<IUserFunction> own = Find(function->GetFunctionName());
    if (own) {
      const IUserFunction& here = *own;
      const IUserFunction& there = *function;
      if (typeid(here) == typeid(there) && here.GetComment() == there.GetComment()) continue;
    }
    Add(function);
  }
  return AssignInterpretedFunctions(std::move(interpreted), tolerant);
}

void TUserFunctions::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TUserFunctions*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  Assign(*other, false);
}

bool TUserFunctions::AssignInterpretedFunctions(std::vector<Ref<IUserFunction>> functions,
                                                bool tolerant) {
  const auto order_of = [](const Ref<IUserFunction>& function) {
    const auto* interpreted = dynamic_cast<const IInterpretedFunction*>(function.get());
    return interpreted == nullptr ? 0 : interpreted->GetOrder();
  };
  std::stable_sort(functions.begin(), functions.end(),
                   [&order_of](const Ref<IUserFunction>& a, const Ref<IUserFunction>& b) {
                     return order_of(a) < order_of(b);
                   });
  bool complete = true;
  for (const Ref<IUserFunction>& function : functions) {
    IReasoner* const printer =
        function->GetReasonerCount() > 0 ? function->GetReasoner(0) : &engine_;
    try {
      Add(engine_.ParseFunction(printer->PrettyPrint(*function)));
    } catch (const Exception&) {
      if (!tolerant) throw;
      complete = false;
    }
  }
  return complete;
}

void TRules::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TRules*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this) return;
  Clear();
  FirstFailure failures;
  for (const TRule* rule : other->GetItems())
    failures.Try([&] { Add(engine_.ParseRule(rule->ToString())); });
  failures.Raise();
}

void TGlobalVariables::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TGlobalVariables*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this || other->GetCount() == 0) return;
  TValueHashTable variables;
  TReasoner& source_engine = other->engine_;
  const bool is_engines_own = &source_engine.GetGlobalVariables() == other;
  for (const std::string& name :
       is_engines_own ? source_engine.GlobalsInOrder() : other->GetKeys()) {
    variables.Put(name, other->Get(name));
  }
  engine_.Parse(engine_.PrettyPrint(variables), true);
}

void TFactSets::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TFactSets*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this) return;
  Clear();
  for (const TFactSet* fact_set : other->sets_) {
    std::unique_ptr<TFactSet> copy(fact_set->Clone(&engine_));
    copy->SetEngineNoParse(&engine_);  // what does not parse there does not parse here
    Add(*copy);
    copy.release();  // the engine's component
  }
}

void TReasoner::Assign(const TPersistent& source) {
  const auto* source_engine = dynamic_cast<const TReasoner*>(&source);
  if (source_engine == nullptr) return TComponent::Assign(source);
  if (source_engine == this) return;
  const TReasoner& other = *source_engine;
  Clear();
  if (!has_own_parser_ || !other.has_own_parser_) {
    SetParserType(other.parser_factory_);
    has_own_parser_ = other.has_own_parser_;
  }
  tokenizer_factory_ = other.tokenizer_factory_;
  SetTypeChecks({});
  SalienceEvaluation = other.SalienceEvaluation;
  strategy_ = other.strategy_;
  SetFactDuplication(other.fact_duplication_);
  SetParserMaxErrors(other.parser_max_errors_);
  // Names meet their namesakes here only where both engines begin with them, the copies imply what
  // the source has implied, and a failure is one at once.
  struct Copying {
    TReasoner& engine;
    const TReasoner& other;
    Copying(TReasoner& own, const TReasoner& source) : engine(own), other(source) {
      engine.DuplicateConstructs = dcOverwrite;
      engine.SetParserErrorHandling(ehRaiseImmediate);
      engine.parser_->StrictFacts = false;
    }
    ~Copying() {
      engine.DuplicateConstructs = other.DuplicateConstructs;
      engine.SetParserErrorHandling(other.parser_error_handling_);
      engine.parser_->StrictFacts = other.parser_->StrictFacts;
    }
  } copying(*this, other);
  symbol_index_ = std::max(symbol_index_, other.symbol_index_);
  saved_symbol_index_ = std::max(saved_symbol_index_, other.saved_symbol_index_);
  Watch = other.Watch;
  ResetGlobals = other.ResetGlobals;
  SetTextbookSemantics(other.GetTextbookSemantics());
  const std::int32_t templates = fact_templates_->GetCount();
  bool complete = user_functions_->Assign(*other.user_functions_, true);
  complete = complete && fact_templates_->GetCount() == templates;
  SetMinActivationStrength(other.min_activation_strength_);
  SetFuzzyEqualsThreshold(other.fuzzy_equals_threshold_);
  FuzzyInferenceMethod = other.FuzzyInferenceMethod;
  FuzzyCorrelationMethod = other.FuzzyCorrelationMethod;
  FuzzyAutoTerms = false;  // each variable comes with the terms that it has
  defined_types_->Assign(*other.defined_types_);
  FuzzyAutoTerms = other.FuzzyAutoTerms;
  fact_templates_->Assign(*other.fact_templates_);
  if (!complete) {
    std::vector<Ref<IUserFunction>> interpreted;
    for (const Ref<IUserFunction>& function : other.user_functions_->GetItems()) {
      if (dynamic_cast<const IInterpretedFunction*>(function.get()) != nullptr)
        interpreted.push_back(function);
    }
    user_functions_->AssignInterpretedFunctions(std::move(interpreted), false);
  }
  global_variables_->Assign(*other.global_variables_);
  fact_sets_->Assign(*other.fact_sets_);
  facts_->Assign(*other.facts_);
  FirstFailure failures;  // of rules that cannot test a fact, as it is there
  failures.Try([&] { rules_->Assign(*other.rules_); });
  SetTypeChecks(other.type_checks_);
  failures.Raise();
}

}  // namespace reasoner
