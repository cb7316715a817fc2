// The engine's life: how it is made, cleared, reset and ended, its settings, and what ties its
// parts together.

#include "reasoner/engine/Reasoner.h"

#include <algorithm>

#include "reasoner/engine/Dialogs.h"
#include "reasoner/engine/HostObjects.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/ClipsParser.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// The packages in the order in which they are made.
static constexpr TFunctionPackage kPackageOrder[] = {pStandard,     pMiscellaneous, pPredicate,
                                                     pMath,         pString,        pObject,
                                                     pTrigonometry, pBusiness,      pFuzzyLogic};

static std::unique_ptr<TObject> MakeDefaultPart(TReasoner& engine, TKBObjectType type) {
  switch (type) {
    case otAgenda:
      return std::make_unique<TKBAgenda>(&engine);
    case otFacts:
      return std::make_unique<TFacts>(&engine);
    case otFactSets:
      return std::make_unique<TFactSets>(engine);
    case otFactTemplates:
      return std::make_unique<TFactTemplates>(engine);
    case otDefinedTypes:
      return std::make_unique<TKBDefinedTypes>(engine);
    case otIOStreams:
      return std::make_unique<TIOStreams>(engine);
    case otRules:
      return std::make_unique<TRules>(engine);
    case otUserFunctions:
      return std::make_unique<TUserFunctions>(engine);
    case otReteNetwork:
      return std::make_unique<TReteNetwork>(engine);
    case otEngineVariables:
      return std::make_unique<TEngineVariables>(engine);
    case otGlobalVariables:
      return std::make_unique<TGlobalVariables>(engine);
  }
  return nullptr;
}

template <class TPart>
std::unique_ptr<TPart> TReasoner::MakePart(const TKBObjectFactory& factory, TKBObjectType type) {
  std::unique_ptr<TObject> made = factory ? factory(*this, type) : nullptr;
  if (!made) made = MakeDefaultPart(*this, type);
  auto* part = dynamic_cast<TPart*>(made.get());
  if (part == nullptr) {
    const std::unique_ptr<TObject> wanted = MakeDefaultPart(*this, type);
    Raise(SInvalidAddObject, made->ClassName(), wanted->ClassName());
  }
  made.release();
  return std::unique_ptr<TPart>(part);
}

TReasoner::TReasoner(TComponent* owner, TKBObjectFactory factory) : TComponent(owner) {
  parser_factory_ = [](TReasoner& engine) { return std::make_unique<TKBClipsParser>(engine); };
  parser_ = NewParser();
  MakeParts(factory);
  AddDefaultPackages();
  Assert(SInitialFact);
}

// The order is the order of dependence: the template registry stands before the two implied
// templates, the packages before the first parse.
void TReasoner::MakeParts(const TKBObjectFactory& factory) {
  context_ = std::make_unique<TKBContext>(nullptr, this);
  io_streams_ = MakePart<TIOStreams>(factory, otIOStreams);
  global_variables_ = MakePart<TGlobalVariables>(factory, otGlobalVariables);
  defined_types_ = MakePart<TKBDefinedTypes>(factory, otDefinedTypes);
  agenda_ = MakePart<TKBAgenda>(factory, otAgenda);
  fact_templates_ = MakePart<TFactTemplates>(factory, otFactTemplates);
  facts_ = MakePart<TFacts>(factory, otFacts);
  MakeImplied();
  fact_sets_ = MakePart<TFactSets>(factory, otFactSets);
  network_ = MakePart<TReteNetwork>(factory, otReteNetwork);
  rules_ = MakePart<TRules>(factory, otRules);
  engine_variables_ = MakePart<TEngineVariables>(factory, otEngineVariables);
  user_functions_ = MakePart<TUserFunctions>(factory, otUserFunctions);
  MakeLogicFunctions();
}

void TReasoner::MakeImplied() {
  initial_pattern_ = std::make_unique<TKBPattern>(nullptr, SInitialFactPattern,
                                                  CreateFactTemplate(SInitialFactPattern), 0);
  initial_pattern_->SetSlotLength(0, 0);  // as `(Initial-Fact)` is read
  not_or_test_fact_ = Make<TFact>(CreateFactTemplate(SNullFact));
}

// All templates go, but the engine's own come back: rules without patterns start with one.
void TReasoner::ClearTemplates() {
  fact_templates_->Clear();
  MakeImplied();
}

void TReasoner::ClearTypes() {
  defined_types_->Clear();
  MakeImplied();
}

// What patterns call is the engine's own, whatever a knowledge base does to the functions of these
// names.
void TReasoner::MakeLogicFunctions() {
  static constexpr std::string_view kNames[kLogicFunctionCount] = {"and", "or",  "not",
                                                                   "eq",  "neq", "eq*"};
  const std::unique_ptr<TUserPackage> package(MakePackage(pStandard, nullptr));
  for (std::size_t i = 0; i < kLogicFunctionCount; ++i) {
    logic_functions_[i] = package->GetFunctions().GetItem(package->IndexOf(kNames[i]));
  }
}

void TReasoner::AddDefaultPackages() {
  // Handlers may raise: all packages are made all the same.
  FirstFailure failures;
  for (const TFunctionPackage package : kPackageOrder) {
    if (packages_.Has(package)) failures.Try([&] { MakePackage(package, this); });
  }
  failures.Try([&] { OnAddDefaultPackages(*this); });
  failures.Raise();
}

TReasoner::~TReasoner() {
  // Nothing below reaches the host.
  const auto close = [](auto&... events) { (events.Close(), ...); };
  close(OnAddDefaultPackages, OnAddActivation, OnRemoveActivation, OnAddDefinedType,
        OnRemoveDefinedType, OnNewFactTemplate, OnRemoveFactTemplate, OnAddRule, OnRemoveRule,
        OnRuleFired, OnAddUserFunction, OnRemoveUserFunction, OnAssertion, OnRetraction,
        OnFuzzyCorrelation, OnFuzzyInference, OnClear, OnClearDefinedTypes, OnClearFactTemplates,
        OnClearRules, OnClearFacts, OnReset, OnStartInference, OnEndInference, OnPrintOut,
        OnUnknownStream, OnDropped, OnWarning, OnReadLine, OnReadToken);
  BeginDestruction();
  Clear();
  objects_.reset();
  DestroyComponents();
  FreeDoomed();
  user_functions_->Clear();
  CloseLink();
  fuzzy_parser_link_->parser = nullptr;
  rules_.reset();
  global_variables_.reset();
  fact_templates_.reset();
  defined_types_.reset();
  user_functions_.reset();
  initial_pattern_.reset();
  not_or_test_fact_ = nullptr;
  agenda_.reset();
  fact_sets_.reset();
  facts_.reset();
  network_.reset();
  context_.reset();
  engine_variables_.reset();
  parser_.reset();
  io_streams_.reset();
}

void TReasoner::Clear() {
  ForgetFailure();
  RequireIdleNetwork("clearing the knowledge base");
  const ScopedOperation operation(*this);
  halted_ = false;
  next_fact_id_ = 0;
  next_rule_id_ = 0;
  // Handlers may raise: every step is done all the same.
  FirstFailure failures;
  failures.Try([this] { agenda_->Clear(); });
  failures.Try([this] { ClearNetwork(); });
  failures.Try([this] { rules_->Clear(); });
  failures.Try([this] { fact_templates_->Clear(); });
  failures.Try([this] { global_variables_->Clear(); });
  failures.Try([this] { defined_types_->Clear(); });
  failures.Try([this] { fact_sets_->Clear(); });
  failures.Try([this] { facts_->Clear(); });
  pending_assertions_.clear();
  pending_retractions_.clear();
  for (const Ref<IUserFunction>& function : user_functions_->GetItems()) {
    if (dynamic_cast<IInterpretedFunction*>(function.get()) == nullptr) continue;
    failures.Try([&] { user_functions_->Remove(function->GetFunctionName()); });
  }
  engine_variables_->Clear();
  failures.Try([this] { io_streams_->Clear(); });
  if (!IsDestroying()) failures.Try([this] { MakeImplied(); });
  if (OnClear.IsHeard()) failures.Try([this] { OnClear(*this); });
  if (!IsDestroying()) failures.Raise();
}

IDialogs& TReasoner::GetDialogs() {
  if (dialogs_ != nullptr) return *dialogs_;
  if (!terminal_dialogs_) terminal_dialogs_ = std::make_unique<TTerminalDialogs>(*this);
  return *terminal_dialogs_;
}

THostObjects& TReasoner::GetObjects() {
  if (!objects_) objects_ = std::make_unique<THostObjects>();
  return *objects_;
}

void TReasoner::Reset() {
  ForgetFailure();
  RequireIdleNetwork("a reset");
  const ScopedOperation operation(*this);
  struct Resetting {
    TReasoner& engine;
    explicit Resetting(TReasoner& reset) : engine(reset) { ++engine.resetting_; }
    ~Resetting() {
      --engine.resetting_;
      engine.FreeDoomed();
    }
  } resetting(*this);
  // The ids start again before any handler can assert a fact.
  facts_->ClearDirect();
  next_fact_id_ = 0;
  pending_assertions_.clear();
  pending_retractions_.clear();
  // What one fact or one handler fails at stops none of the steps behind it.
  FirstFailure failures;
  failures.Try([this] { RetractFacts(); });
  for (TRule* rule : rules_->GetItems()) rule->Reset();
  failures.Try([this] { Assert(SInitialFact); });
  if (ResetGlobals) {
    // In the literal meaning the order is that of the definitions.
    for (const std::string& name :
         GetTextbookSemantics() ? GlobalsInOrder() : global_variables_->GetKeys()) {
      failures.Try([&] { ResetGlobalVariable(name, global_variables_->Get(name)); });
    }
  }
  for (TFactSet* fact_set : fact_sets_->GetItems()) {
    if (fact_sets_->IndexOf(*fact_set) >= 0) failures.Try([&] { fact_set->Reset(); });
  }
  failures.Try([this] { OnReset(*this); });
  failures.Raise();
}

void TReasoner::ResetGlobalVariable(std::string_view name, const Ref<IKBValue>& value) {
  Ref<IKBValue> bound = value ? value : Ref<IKBValue>(FCNil);
  // In the literal meaning a global that is defined by a variable or a list stands for just that.
  const TKBTypes evaluated = GetTextbookSemantics()
                                 ? TKBTypes{dtFunCall, dtVariable, dtMultiVariable, dtList}
                                 : TKBTypes{dtFunCall};
  if (evaluated.Has(bound->GetDType())) bound = ResolveInContext(bound);
  context_->AddGlobalBinding(name, bound);
}

Ref<IKBValue> TReasoner::ResolveInContext(const Ref<IKBValue>& value) {
  TKBContext frame(context_.get(), this);
  const Ref<IKBValue> resolved = Given(value, "value").Resolve(&frame);
  if (resolved->GetDType() != dtList) return resolved;
  // A call among the members runs now, too.
  const IValueVector& list = *resolved->GetAsList();
  const bool has_call = std::any_of(list.begin(), list.end(), [](const Ref<IKBValue>& member) {
    return member && !IsValueConstant(*member) && KBAlwaysValidTypes.Has(member->GetDType());
  });
  return has_call ? NewList(frame.ExpandList(list)) : resolved;
}

void TReasoner::RequireIdleNetwork(const char* doing) const {
  if (in_network_ > 0) Raise(SNetworkBusy, doing);
}

// Settings.

void TReasoner::SetFactDuplication(bool value) {
  if (value == fact_duplication_) return;
  fact_duplication_ = value;
  facts_->SetCacheHashCodes(!value);
}

void TReasoner::SetTextbookSemantics(bool value) {
  if (value == GetTextbookSemantics()) return;
  RequireIdleNetwork("changing the semantics");
  GetLink()->textbook_semantics = value;
  std::vector<std::pair<std::int32_t, std::string>> rules;
  for (const TRule* rule : rules_->GetItems())
    rules.emplace_back(rule->GetRuleId(), rule->GetRuleName());
  std::sort(rules.begin(), rules.end());
  // No node of the old kind is left for the new ones to share. A handler may take rules away.
  FirstFailure failures;
  for (auto compile : {&TReasoner::UncompileRule, &TReasoner::CompileRule}) {
    for (const auto& [id, name] : rules) {
      if (TRule* rule = rules_->Find(name)) failures.Try([&] { (this->*compile)(*rule); });
    }
  }
  failures.Raise();
}

void TReasoner::SetPackages(TFunctionPackages value) {
  if (value == packages_) return;
  packages_ = value;
  if (changing_packages_) return;  // asked for by a handler: the change under way goes on with it
  struct Changing {
    bool& flag;
    explicit Changing(bool& changing) : flag(changing) { flag = true; }
    ~Changing() { flag = false; }
  } changing(changing_packages_);
  FirstFailure failures;
  TFunctionPackages made;
  do {
    made = packages_;
    for (std::size_t i = GetComponentCount(); i-- > 0;) {
      if (i >= GetComponentCount()) continue;  // a handler has ended components
      auto* package = dynamic_cast<TUserPackage*>(&GetComponent(i));
      if (package == nullptr || package->IsDestroying()) continue;
      const ComponentWatch watch(*package);
      failures.Try([package] { package->ClearReasoners(); });
      if (!watch.HasEnded()) delete package;
    }
    failures.Try([this] { AddDefaultPackages(); });
  } while (made != packages_);
  failures.Raise();
}

void TReasoner::SetTypeChecks(TTypeChecks value) {
  if (value == type_checks_) return;
  type_checks_ = value;
  parser_->StaticChecks = value.Has(tcStatic);
}

void TReasoner::SetDynamicChecks(bool value) {
  SetTypeChecks(value ? type_checks_ + TTypeChecks{tcDynamic}
                      : type_checks_ - TTypeChecks{tcDynamic});
}

void TReasoner::SetParserErrorHandling(TErrorHandling value) {
  parser_error_handling_ = value;
  parser_->ErrorHandling = value;
}

void TReasoner::SetParserMaxErrors(std::int32_t value) {
  parser_max_errors_ = value;
  parser_->MaxErrors = value;
}

void TReasoner::SetSymbolIndex(std::int32_t value) {
  symbol_index_ = value > symbol_index_ ? value : symbol_index_ + 1;
  saved_symbol_index_ = std::max(saved_symbol_index_, value);
}

void TReasoner::SetMinActivationStrength(float value) {
  min_activation_strength_ = std::clamp(value, 0.0F, 1.0F);
  network_->SetMinActivationStrength(min_activation_strength_);
}

std::unique_ptr<TKBParser> TReasoner::NewParser() {
  std::unique_ptr<TKBParser> parser = parser_factory_(*this);
  if (!parser) Raise(SNoParser);
  parser->ErrorHandling = parser_error_handling_;
  parser->MaxErrors = parser_max_errors_;
  parser->StaticChecks = type_checks_.Has(tcStatic);
  return parser;
}

void TReasoner::SetParserType(TKBParserFactory factory) {
  if (!factory) return;
  parser_factory_ = std::move(factory);
  has_own_parser_ = false;
  std::unique_ptr<TKBParser> parser = NewParser();
  if (parses_ > 0) old_parsers_.push_back(std::move(parser_));
  parser_ = std::move(parser);
}

void TReasoner::SetTokenizerType(TKBTokenizerFactory factory) {
  tokenizer_factory_ = std::move(factory);
  if (parses_ == 0) parser_->SetStream(nullptr);
}

std::unique_ptr<TKBTokenizerStream> TReasoner::NewTokenizer(TStream& stream,
                                                            const TEncoding* encoding) {
  std::unique_ptr<TKBTokenizerStream> tokenizer;
  if (tokenizer_factory_) tokenizer = tokenizer_factory_(stream, encoding);
  if (!tokenizer) tokenizer = std::make_unique<TKBClipsStream>(&stream, encoding);
  if (auto* clips = dynamic_cast<TKBClipsStream*>(tokenizer.get())) clips->SetEngine(this);
  return tokenizer;
}

std::unique_ptr<TKBTokenizerStream> TReasoner::NewTokenizer(const std::string& file_name,
                                                            TFileMode mode) {
  auto stream = std::make_unique<TFileStream>(file_name, mode);
  std::unique_ptr<TKBTokenizerStream> tokenizer = NewTokenizer(*stream, nullptr);
  tokenizer->TakeStream(std::move(stream));
  if (auto* clips = dynamic_cast<TKBClipsStream*>(tokenizer.get())) clips->SetFileName(file_name);
  return tokenizer;
}

std::string TReasoner::GenerateSymbol(std::string_view prefix) {
  std::string name = std::string(prefix) + IntegerToText(symbol_index_++);
  // The engine's own names stay inside of a rule; any other may be in facts that are saved.
  if (!prefix.starts_with('_')) saved_symbol_index_ = symbol_index_;
  return name;
}

void TReasoner::KeepSymbol(std::string_view name) {
  // Numbers beyond are not reached by counting, and must not use up those that are left.
  constexpr std::int32_t kHighest = 1000000000;
  const std::size_t digits = name.find_last_not_of("0123456789") + 1;
  if (digits == 0 || digits == name.size()) return;
  const std::optional<std::int32_t> number = TextToInteger(name.substr(digits));
  if (number && *number >= symbol_index_ && *number < kHighest) symbol_index_ = *number + 1;
}

// Constructs.

Ref<IFactTemplate> TReasoner::FindFactTemplate(std::string_view name) {
  return fact_templates_->Find(name);
}

Ref<IFactTemplate> TReasoner::CreateFactTemplate(std::string_view name) {
  if (Ref<IFactTemplate> known = fact_templates_->Find(name)) return known;
  const Ref<IFactTemplate> made = Make<TFactTemplate>(this, name, SImpliedComment);
  fact_templates_->Add(made);
  return made;
}

bool TReasoner::ForgetTemplate(const Ref<IFactTemplate>& fact_template) {
  // Rules, facts, fact sets, children and calls each hold their templates.
  const std::string name = fact_template->GetTemplateName();
  if (fact_template->GetRefCount() != 2 || !(fact_templates_->Find(name) == fact_template))
    return false;
  fact_templates_->Remove(name);
  return true;
}

Ref<IKBDefinedType> TReasoner::FindDefinedType(std::string_view name) {
  return defined_types_->Find(name);
}

void TReasoner::EnterTemplate(const Ref<IFactTemplate>& fact_template) {
  fact_templates_->Add(fact_template);
}
void TReasoner::EnterType(const Ref<IKBDefinedType>& type) { defined_types_->Add(type); }
void TReasoner::EnterFunction(const Ref<IUserFunction>& function) {
  user_functions_->Add(function);
}
bool TReasoner::EnterFactSet(TFactSet& fact_set) {
  fact_sets_->Add(fact_set);
  return fact_sets_->IndexOf(fact_set) >= 0;
}
void TReasoner::CheckFactSetName(const TFactSet& fact_set, std::string_view name) {
  if (!fact_sets_ || fact_sets_->IndexOf(fact_set) < 0) return;
  const std::int32_t index = fact_sets_->IndexOf(name);
  if (index >= 0 && &fact_sets_->GetItem(index) != &fact_set) Raise(SDuplicateFactSetNames, name);
}
void TReasoner::LeaveFactSet(TFactSet& fact_set) {
  if (fact_sets_) fact_sets_->Leave(fact_set);
}

void TReasoner::SetGlobalVariable(std::string_view name, const Ref<IKBValue>& value) {
  global_variables_->SetItem(name, value);
}

std::vector<std::pair<std::string, Ref<IKBValue>>> TReasoner::GetGlobalValues() const {
  std::vector<std::pair<std::string, Ref<IKBValue>>> values;
  for (std::string& name : global_variables_->GetKeys()) {
    Ref<IKBValue> value = global_variables_->Get(name);
    values.emplace_back(std::move(name), std::move(value));
  }
  return values;
}

bool TReasoner::HasGlobalVariable(std::string_view name) const {
  return global_variables_->ContainsKey(name);
}

bool TReasoner::AddUserFunction(const Ref<IUserFunction>& function) {
  user_functions_->Add(function);
  return true;
}

void TReasoner::RemoveUserFunction(IUserFunction& function) {
  if (!user_functions_) return;
  const Ref<IUserFunction> kept(&function);
  if (user_functions_->Find(function.GetFunctionName()) == &function) {
    user_functions_->Remove(function.GetFunctionName());
  }
}

bool TReasoner::ContainsUserFunction(std::string_view name) {
  return user_functions_->ContainsKey(name);
}

bool TReasoner::ContainsUserFunction(std::string_view name, Ref<IUserFunction>& function) {
  function = user_functions_->Find(name);
  return function.get() != nullptr;
}

// The function of that name in the packages that the engine owns.
Ref<IUserFunction> TReasoner::FindPackageFunction(std::string_view name) const {
  for (std::size_t i = 0; i < GetComponentCount(); ++i) {
    auto* package = dynamic_cast<TUserPackage*>(&GetComponent(i));
    if (package == nullptr || package->IndexOfReasoner(*this) < 0) continue;
    const std::int32_t index = package->IndexOf(name);
    if (index >= 0) return package->GetFunctions().GetItem(index);
  }
  return nullptr;
}

Ref<IUserFunction> TReasoner::GetUserFunction(std::string_view name) {
  return user_functions_->Find(name);
}

void TReasoner::SetUserFunction(std::string_view name, const Ref<IUserFunction>& function) {
  user_functions_->Put(name, function);
}

const Ref<IUserFunction>& TReasoner::GetLogicFunction(TLogicFunction function) {
  return logic_functions_[function];
}

// Rules.

bool TReasoner::HoldsRule(const TRule& rule) const {
  return rules_ && rules_->Find(rule.GetRuleName()) == &rule;
}

void TReasoner::EnterRule(TRule& rule) { rules_->Add(rule); }

void TReasoner::LeaveRule(TRule& rule) {
  if (rule.IsDestroying()) {
    returning_rules_.erase(std::remove(returning_rules_.begin(), returning_rules_.end(), &rule),
                           returning_rules_.end());
  }
  if (current_activation_ != nullptr && current_activation_->HasRule() &&
      &current_activation_->GetRule() == &rule && rule.IsDestroying()) {
    current_activation_->ForgetRule();
  }
  if (!rules_ || !network_) return;
  std::string key = rule.GetRuleName();
  if (!HoldsRule(rule)) {
    // Listed under another name, if at all: a failed renaming leaves it so.
    key.clear();
    rules_->table_.ForEach([&](const std::string& name, TRule* const& item) {
      if (item == &rule) key = name;
    });
  }
  // The rule ends whatever a handler thinks of it.
  FirstFailure failures;
  const bool was_listed = rules_->table_.Take(key) == &rule;
  const ComponentWatch watch(rule);
  if (was_listed) failures.Try([&] { ReportRule(OnRemoveRule, rule); });
  if (!watch.HasEnded()) failures.Try([&] { UncompileRule(rule); });
  if (watch.HasEnded() || !rule.IsDestroying() || !agenda_) return;
  if (in_network_ == 0 && removals_reported_ == 0) return;
  // A handler of an activation's removal ends the rule: neither that activation nor those whose
  // turn is still to come may know it any more.
  for (std::int32_t i = 0; i < agenda_->GetCount(); ++i) {
    TActivation& activation = agenda_->GetActivation(i);
    if (activation.HasRule() && &activation.GetRule() == &rule) activation.ForgetRule();
  }
}

void TReasoner::RemoveRule(TRule& rule) {
  const ScopedReport report(*this);
  const ComponentWatch watch(rule);  // handlers may end it, or enter it again
  FirstFailure failures;
  failures.Try([&] { ReportRule(OnRemoveRule, rule); });
  if (!watch.HasEnded() && !HoldsRule(rule)) {
    failures.Try([&] { UncompileRule(rule); });
    if (!watch.HasEnded() && !rule.IsDestroying() && rule.GetOwner() == this && !HoldsRule(rule))
      FreeRule(rule);
  }
  failures.Raise();
}

// Whether the network knows the rule, or will as soon as it is idle.
bool TReasoner::IsCompiled(const TRule& rule) const {
  return in_network_ > 0 || !network_->IsEnabled() || network_->HasRule(rule);
}

// Enters a compiled rule under its name. A handler may have entered another one meanwhile: that one
// gives way.
void TReasoner::ClaimName(TRule& rule) {
  TRule* other = rules_->table_.Take(rule.GetRuleName());
  rules_->table_.Put(rule.GetRuleName(), &rule);
  if (other != nullptr && other != &rule) RemoveRule(*other);
}

// Puts a rule in the place of another one. If it cannot be compiled, the old one comes back.
void TReasoner::ReplaceRule(TRule& old, TRule& rule) {
  const std::string name = rule.GetRuleName();
  const ComponentWatch watch(rule);
  const ComponentWatch old_watch(old);
  ReportRule(OnRemoveRule, old);
  const auto holds_old = [&] { return !old_watch.HasEnded() && rules_->Find(name) == &old; };
  if (watch.HasEnded()) return;
  if (!holds_old()) return rules_->Put(name, &rule);  // the handler was faster
  FirstFailure failures;
  failures.Try([&] { UncompileRule(old); });
  if (!watch.HasEnded()) failures.Try([&] { CompileRule(rule); });
  if (watch.HasEnded() || !IsCompiled(rule)) {
    if (holds_old()) failures.Try([&] { CompileRule(old); });
  } else if (holds_old() && rule.GetRuleName() == name) {
    rules_->table_.Put(name, &rule);
    // A handler that has changed the old rule meanwhile has had it compiled again.
    failures.Try([&] { UncompileRule(old); });
    if (!old_watch.HasEnded() && !old.IsDestroying() && old.GetOwner() == this) FreeRule(old);
  } else {
    failures.Try([&] { ClaimName(rule); });
    // A handler has renamed the new rule: the old one keeps its name.
    if (holds_old()) failures.Try([&] { CompileRule(old); });
  }
  failures.Raise();
}

void TReasoner::DropRule(TRule& rule) {
  const ScopedReport report(*this);
  const ComponentWatch watch(rule);
  FirstFailure failures;
  failures.Try([&] { UncompileRule(rule); });
  if (!watch.HasEnded() && !rule.IsDestroying() && rule.GetOwner() == this) FreeRule(rule);
  failures.Raise();
}

void TReasoner::FreeRule(TRule& rule) {
  if (rule.IsFiring() || !IsIdle()) {
    doomed_rules_.push_back(&rule);
  } else {
    delete &rule;
  }
}

void TReasoner::FreeDoomed() noexcept {
  if (!IsIdle()) return;
  while (!doomed_rules_.empty()) {
    TRule* rule = doomed_rules_.back();
    doomed_rules_.pop_back();
    delete rule;
  }
  while (resetting_ == 0 && !doomed_fact_sets_.empty()) {
    TFactSet* fact_set = doomed_fact_sets_.back();
    doomed_fact_sets_.pop_back();
    delete fact_set;
  }
}

void TReasoner::Notification(TComponent& component, TOperation operation) {
  TComponent::Notification(component, operation);
  if (operation != opRemove) return;
  if (auto* rule = dynamic_cast<TRule*>(&component)) {
    // Whoever else frees it was faster.
    doomed_rules_.erase(std::remove(doomed_rules_.begin(), doomed_rules_.end(), rule),
                        doomed_rules_.end());
    if (rules_ && rules_->Find(rule->GetRuleName()) == rule) LeaveRule(*rule);
  } else if (auto* fact_set = dynamic_cast<TFactSet*>(&component)) {
    doomed_fact_sets_.erase(
        std::remove(doomed_fact_sets_.begin(), doomed_fact_sets_.end(), fact_set),
        doomed_fact_sets_.end());
    if (fact_sets_) fact_sets_->Leave(*fact_set);
  }
}

}  // namespace reasoner
