// A host that does anything the public interface allows, from every event, and that throws from
// every event: whatever comes of it, the engine stays sound and can be gone on with.
//
// Each program makes an engine, subscribes to all its events and draws its operations from the
// table below. A handler draws operations as well, up to a depth of six, and throws now and then.
// REASONER_HOST_PROGRAMS and REASONER_HOST_SEED choose how many programs run and from which seed
// on; REASONER_HOST_TRACE prints each operation before it runs.

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/ClipsParser.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Integrity.h"

namespace reasoner {
namespace {

constexpr int kOperations = 60;
constexpr int kMaxDepth = 6;
constexpr int kNestedOperations = 12;  // that one outermost operation may lead to

// What is written to the interface of a rule or a pattern while it is in an engine.
constexpr bool kEdits = true;
// Objects of another engine, and null references.
constexpr bool kForeign = true;

std::uint32_t Setting(const char* name, std::uint32_t otherwise) {
  const char* value = std::getenv(name);
  return value == nullptr ? otherwise
                          : static_cast<std::uint32_t>(std::strtoul(value, nullptr, 10));
}

class RandomHost {
 public:
  explicit RandomHost(std::uint32_t seed) : random_(seed), seed_(seed) {
    engine_ = std::make_unique<TReasoner>();
    TReasoner& engine = *engine_;
    const auto act = [this](auto&&...) { FromEvent(); };
    const auto attach = [&act](auto&... events) { ((events = act), ...); };
    attach(engine.OnAddDefaultPackages, engine.OnAddActivation, engine.OnRemoveActivation,
           engine.OnAddDefinedType, engine.OnRemoveDefinedType, engine.OnNewFactTemplate,
           engine.OnRemoveFactTemplate, engine.OnAddRule, engine.OnRemoveRule, engine.OnRuleFired,
           engine.OnAddUserFunction, engine.OnRemoveUserFunction, engine.OnAssertion,
           engine.OnRetraction, engine.OnFuzzyCorrelation, engine.OnFuzzyInference, engine.OnClear,
           engine.OnClearDefinedTypes, engine.OnClearFactTemplates, engine.OnClearRules,
           engine.OnClearFacts, engine.OnReset, engine.OnStartInference, engine.OnEndInference,
           engine.OnPrintOut, engine.OnUnknownStream, engine.OnReadLine, engine.OnReadToken,
           engine.GetReteNetwork().OnActivation, engine.GetReteNetwork().OnDeactivation,
           engine.GetReteNetwork().OnRuleFired);
    AttachToParser();
    engine.SetTextbookSemantics(Draw(2) == 0);
    quiet_ = true;
    engine.Parse(
        "(deftemplate a (slot x)) (deftemplate b (slot x)) (deftemplate c (multislot x))"
        "(deftype heat extends (type FUZZY) (range 0 100)"
        " (values (term cold (z 20 50)) (term hot (s 50 80))))"
        "(deftemplate warm (slot x (type heat)))",
        true);
    quiet_ = false;
  }

  ~RandomHost() {
    quiet_ = true;
    subscriptions_.clear();
    functions_.clear();
    rules_.clear();
    engine_.reset();
  }

  void RunProgram() {
    for (int step = 0; step < kOperations && !::testing::Test::HasFailure(); ++step) {
      budget_ = kNestedOperations;
      Act();
      quiet_ = true;
      CheckIntegrity(*engine_, "seed " + std::to_string(seed_) + " step " + std::to_string(step));
      quiet_ = false;
    }
    // The engine still works: with all facts gone no memory holds anything, and a rule fires.
    quiet_ = true;
    TReasoner& engine = *engine_;
    const std::string when = "seed " + std::to_string(seed_) + " at the end";
    engine.SetMaxDepth(kDefaultMaxDepth);
    engine.GetFacts().Clear();
    EXPECT_EQ(engine.GetAgendaCount(), 0) << when;
    for (const TReteNode* node : engine.GetReteNetwork().GetNodes()) {
      const auto* join = dynamic_cast<const TJoinNode*>(node);
      if (join == nullptr) continue;
      EXPECT_EQ(join->GetLeftMemory()->GetCount() + join->GetRightMemory()->GetCount(), 0u) << when;
    }
    engine.Clear();
    engine.GetReteNetwork().SetEnabled(true);
    try {
      engine.Parse("(defrule last (end ?x) => )", true);
    } catch (const EKBInterrupted&) {  // asked for by the last operation
      engine.Parse("(defrule last (end ?x) => )", true);
    }
    engine.Assert("(end 1)");
    EXPECT_EQ(engine.Run(), 1) << when;
  }

 private:
  std::uint32_t Draw(std::uint32_t below) { return static_cast<std::uint32_t>(random_() % below); }
  template <std::size_t kCount>
  const char* Pick(const char* const (&texts)[kCount]) {
    return texts[Draw(kCount)];
  }

  template <class TStep>
  static void TryToDo(TStep step) {
    try {
      step();
    } catch (const std::exception&) {
      // What is refused or fails is the engine's right.
    } catch (int) {
      // So is it with what this host throws.
    }
  }

  void FromEvent() {
    if (quiet_) return;
    if (Draw(3) == 0) Act();
    if (Draw(14) != 0) return;
    switch (Draw(4)) {
      case 0:
        throw EAbort();
      case 1:
        throw std::runtime_error("the host failed");
      case 2:
        throw int{1};
      default:
        throw EKBException("the host refuses");
    }
  }

  void AttachToParser() {
    const auto act = [this](auto&&...) { FromEvent(); };
    const auto attach = [&act](auto&... events) { ((events = act), ...); };
    TKBParser& parser = engine_->GetParser();
    attach(parser.OnParse, parser.OnParseFact, parser.OnParseFactSet, parser.OnParseFactTemplate,
           parser.OnParseFunCall, parser.OnParseFunction, parser.OnParseVariable,
           parser.OnParsePattern, parser.OnParseRule, parser.OnParseDefinedType,
           parser.OnParseFuzzySet, parser.OnParseFuzzyVariable, parser.OnParseSingletons);
  }

  // Drawing.

  std::string RuleName() { return Pick({"r0", "r1", "r2", "r3", "r4"}); }
  std::string FunctionName() { return Pick({"f", "g", "abs", "max", "host"}); }

  std::string RandomFact() {
    const std::string number = std::to_string(Draw(4));
    switch (Draw(8)) {
      case 0:
        return "(c (x " + number + " " + std::to_string(Draw(3)) + "))";
      case 1:
        return std::string("(warm (x ") + Pick({"hot", "cold", "very hot", "(+ 40 1)"}) + "))";
      case 2:
        return "(free " + number + " (f " + number + "))";
      default:
        return std::string("(") + Pick({"a", "b"}) + " (x " + number + "))";
    }
  }

  std::string RandomRule() {
    static constexpr const char* kPatterns[] = {"(a (x ?x))",           "(b (x ?x))",
                                                "(c (x ?y $?z))",       "(not (b (x ?x)))",
                                                "(not (a (x 3)))",      "(exists (a (x ?w)))",
                                                "(a (x ~2))",           "(b (x 1|3))",
                                                "(test (host))",        "(a (x ?v&:(> (f ?v) 1)))",
                                                "?f <- (warm (x hot))", "(free ?x $?)"};
    static constexpr const char* kActions[] = {"(assert (c (x 1 2)))",
                                               "(retract *)",
                                               "(halt)",
                                               "(+ 1 x)",
                                               "(assert (a (x 3)) (b (x 3)))",
                                               "(undefrule r0)",
                                               "(reset)",
                                               "(host)",
                                               "(printout t (f 2) crlf)",
                                               "(bind ?q (readline))",
                                               "(assert (warm (x cold)))",
                                               "(clear)"};
    std::string text = "(defrule " + RuleName() + " (declare (salience " +
                       Pick({"0", "1", "-1", "(host)", "(f 2)"}) + ")" +
                       (Draw(6) == 0 ? " (oneshot TRUE)" : "") + ")";
    // The first pattern binds ?x, so that every later one may use it.
    text += Draw(2) == 0 ? " (a (x ?x))" : " (b (x ?x))";
    const std::uint32_t count = Draw(3);
    for (std::uint32_t i = 0; i < count; ++i) text += std::string(" ") + Pick(kPatterns);
    return text + " => " + Pick(kActions) + (Draw(3) == 0 ? Pick(kActions) : "") + ")";
  }

  TRule* AnyRule() {
    const std::vector<TRule*> rules = engine_->GetRules().GetItems();
    return rules.empty() ? nullptr : rules[Draw(static_cast<std::uint32_t>(rules.size()))];
  }

  Ref<IFact> AnyFact() {
    const std::int32_t count = engine_->GetFacts().GetCount();
    if (count == 0) return nullptr;
    return engine_->GetFacts().Get(static_cast<std::int32_t>(Draw(static_cast<unsigned>(count))));
  }

  template <class TRegistryOf>
  auto AnyOf(TRegistryOf& registry) {
    const auto items = registry.GetItems();
    using TItem = typename std::remove_cvref_t<decltype(items)>::value_type;
    return items.empty() ? TItem() : items[Draw(static_cast<std::uint32_t>(items.size()))];
  }

  // The host's own event gets another handler, a listener, or none: also while it runs.
  template <class TEvent>
  void ChangeEvent(TEvent& event) {
    const auto act = [this, text = std::string(40, 'x')](auto&&...) {
      FromEvent();
      EXPECT_EQ(text, std::string(40, 'x'));
    };
    switch (Draw(4)) {
      case 0:
        event = nullptr;
        break;
      case 1:
        subscriptions_.push_back(event.Subscribe(act));
        break;
      case 2:
        if (!subscriptions_.empty()) {
          const std::size_t place = Draw(static_cast<std::uint32_t>(subscriptions_.size()));
          const Subscription ended = std::move(subscriptions_[place]);
          subscriptions_.erase(subscriptions_.begin() + static_cast<std::ptrdiff_t>(place));
        }
        break;
      default:
        event = act;
    }
  }

  void ChangeSomeEvent() {
    TReasoner& engine = *engine_;
    switch (Draw(14)) {
      case 0:
        return ChangeEvent(engine.OnAddActivation);
      case 1:
        return ChangeEvent(engine.OnRemoveActivation);
      case 2:
        return ChangeEvent(engine.OnAssertion);
      case 3:
        return ChangeEvent(engine.OnRetraction);
      case 4:
        return ChangeEvent(engine.OnAddRule);
      case 5:
        return ChangeEvent(engine.OnRemoveRule);
      case 6:
        return ChangeEvent(engine.OnRuleFired);
      case 7:
        return ChangeEvent(engine.OnPrintOut);
      case 8:
        return ChangeEvent(engine.OnReset);
      case 9:
        return ChangeEvent(engine.OnNewFactTemplate);
      case 10:
        return ChangeEvent(engine.OnRemoveUserFunction);
      case 11:
        return ChangeEvent(engine.GetReteNetwork().OnActivation);
      case 12:
        return ChangeEvent(engine.GetReteNetwork().OnDeactivation);
      default:
        return ChangeEvent(engine.GetParser().OnParse);
    }
  }

  void MakeFunction() {
    auto function = std::make_unique<TUserFunction>();
    function->OnCall = [this](TObject&, const IFunCall& call, TKBContext& context,
                              Ref<IKBValue>& result) {
      FromEvent();
      result = call.GetArgumentCount() > 0 ? call.GetArgument(0)->Resolve(&context)
                                           : Ref<IKBValue>(NewInteger(1));
    };
    TUserFunction& made = *function;
    functions_.push_back(std::move(function));
    made.SetFunctionName(FunctionName());
    made.SetEngine(engine_.get());
  }

  void EndFunction() {
    if (functions_.empty()) return;
    const std::size_t place = Draw(static_cast<std::uint32_t>(functions_.size()));
    const std::unique_ptr<TUserFunction> ended = std::move(functions_[place]);
    functions_.erase(functions_.begin() + static_cast<std::ptrdiff_t>(place));
  }

  // A rule that the host owns. The engine may have it or not.
  void MakeRule() {
    std::unique_ptr<TRule> rule = engine_->ParseRule(RandomRule());
    TRule& made = *rule;
    rules_.push_back(std::move(rule));
    engine_->GetRules().Add(made);
  }

  void EndRule() {
    if (Draw(2) == 0 && !rules_.empty()) {
      const std::size_t place = Draw(static_cast<std::uint32_t>(rules_.size()));
      const std::unique_ptr<TRule> ended = std::move(rules_[place]);
      rules_.erase(rules_.begin() + static_cast<std::ptrdiff_t>(place));
      return;
    }
    // The engine's own may be freed like any component.
    TRule* const rule = AnyRule();
    if (rule != nullptr && rule->GetOwner() == engine_.get() && !rule->IsDestroying()) delete rule;
  }

  // Operations: one that throws has been refused.

  struct TOperation {
    const char* name;
    std::uint32_t weight;
    void (*perform)(RandomHost& host, TReasoner& engine);
  };
  static const std::vector<TOperation>& Operations();

  void Act() {
    if (depth_ >= kMaxDepth || budget_ <= 0) return;
    --budget_;
    ++depth_;
    const std::vector<TOperation>& operations = Operations();
    static const std::uint32_t kWeight = [&operations] {
      std::uint32_t sum = 0;
      for (const TOperation& operation : operations) sum += operation.weight;
      return sum;
    }();
    std::uint32_t drawn = Draw(kWeight);
    const TOperation* chosen = operations.data();
    while (drawn >= chosen->weight) drawn -= (chosen++)->weight;
    static const bool kTraces = std::getenv("REASONER_HOST_TRACE") != nullptr;
    if (kTraces)
      std::cerr << std::string(static_cast<std::size_t>(depth_), ' ') << chosen->name << "\n";
    TryToDo([&] { chosen->perform(*this, *engine_); });
    --depth_;
  }

  std::mt19937 random_;
  const std::uint32_t seed_;
  int depth_ = 0;
  int budget_ = 0;
  bool quiet_ = false;
  std::unique_ptr<TReasoner> engine_;
  std::vector<Subscription> subscriptions_;
  std::vector<std::unique_ptr<TUserFunction>> functions_;
  std::vector<std::unique_ptr<TRule>> rules_;
};

const std::vector<RandomHost::TOperation>& RandomHost::Operations() {
  using H = RandomHost;
  using E = TReasoner;
  static const std::vector<TOperation> kList = {
      // Facts.
      {"assert a text", 12, [](H& host, E& engine) { engine.Assert(host.RandomFact()); }},
      {"assert an object", 4,
       [](H& host, E& engine) { engine.Assert(engine.ParseFact(host.RandomFact())); }},
      {"assert with a method", 2,
       [](H& host, E& engine) {
         engine.Assert(engine.ParseFact(host.RandomFact()), fimProduct, host.Draw(2) == 0);
       }},
      {"retract a text", 6, [](H& host, E& engine) { engine.Retract(host.RandomFact()); }},
      {"retract an id", 4,
       [](H& host, E& engine) { engine.Retract(static_cast<std::int32_t>(host.Draw(12))); }},
      {"retract an index", 3,
       [](H& host, E& engine) { engine.RetractFact(static_cast<std::int32_t>(host.Draw(6))); }},
      {"retract an object", 3,
       [](H& host, E& engine) {
         if (const Ref<IFact> fact = host.AnyFact()) engine.RetractFact(fact);
       }},
      {"modify a fact", 4,
       [](H& host, E& engine) {
         const Ref<IFact> fact = host.AnyFact();
         if (!fact || fact->GetTemplate()->GetTemplateName() != "a") return;
         engine.BeginFactModify(fact);
         if (engine.GetFacts().Lists(*fact)) return;
         fact->SetValue("x", NewInteger(static_cast<std::int32_t>(host.Draw(4))));
         engine.EndFactModify(fact);
       }},
      {"add a pending fact", 3,
       [](H& host, E& engine) {
         engine.AddPendingFact(engine.ParseFact(host.RandomFact()), host.Draw(2) == 0);
         if (host.Draw(2) == 0) engine.ProcessPendingFacts();
       }},
      {"clear the facts", 1, [](H&, E& engine) { engine.GetFacts().Clear(); }},
      {"insert into the list", 1,
       [](H& host, E& engine) {
         engine.GetFacts().Insert(0, engine.ParseFact(host.RandomFact()));
       }},
      // Constructs as text.
      {"define a rule", 10, [](H& host, E& engine) { engine.Parse(host.RandomRule(), true); }},
      {"undefine a rule", 4,
       [](H& host, E& engine) { engine.Parse("(undefrule " + host.RuleName() + ")", true); }},
      {"define a template", 3,
       [](H& host, E& engine) {
         engine.Parse(std::string("(deftemplate ") + host.Pick({"a", "b"}) + " (slot x)" +
                          host.Pick({"", "(slot y)", "(slot z (default 1))"}) + ")",
                      true);
       }},
      {"undefine a template", 1,
       [](H& host, E& engine) {
         engine.GetFactTemplates().Remove(host.Pick({"a", "b", "c", "warm", "free"}));
       }},
      {"define a type", 1,
       [](H& host, E& engine) {
         engine.Parse(
             std::string(
                 "(deftype heat extends (type FUZZY) (range 0 100) (values (term cold (z 20 ") +
                 host.Pick({"50", "60"}) + ")) (term hot (s 50 80))))",
             true);
       }},
      {"undefine a type", 1, [](H&, E& engine) { engine.GetDefinedTypes().Remove("heat"); }},
      {"define a function", 3,
       [](H& host, E& engine) {
         engine.Parse("(deffunction " + host.FunctionName() + " (?x) " +
                          host.Pick({"1)", "?x)", "(retract 2) 2)", "(host))"}),
                      true);
       }},
      {"undefine a function", 2,
       [](H& host, E& engine) { engine.GetUserFunctions().Remove(host.FunctionName()); }},
      {"define a global", 1,
       [](H& host, E& engine) {
         engine.Parse(std::string("(defglobal ?*g* = ") + host.Pick({"1", "(host)", "(f 2)"}) + ")",
                      true);
       }},
      {"define a fact set", 2,
       [](H& host, E& engine) {
         engine.Parse(std::string("(deffacts ") + host.Pick({"s", "t"}) + " " + host.RandomFact() +
                          host.RandomFact() + ")",
                      true);
       }},
      {"remove a fact set", 1,
       [](H&, E& engine) {
         if (engine.GetFactSets().GetCount() > 0)
           engine.GetFactSets().Remove(engine.GetFactSets().GetItem(0));
       }},
      {"evaluate", 4,
       [](H& host, E& engine) {
         engine.ParseNExecuteFunCall(host.Pick(
             {"(f 1)", "(abs -1)", "(host)", "(rules)", "(if (host) then (f (g 2)) else 1)",
              "(read)", "(facts)", "(try (host) except (host) finally (host))"}));
       }},
      // Running.
      {"run", 8, [](H& host, E& engine) { engine.Run(static_cast<std::int32_t>(host.Draw(3))); }},
      {"reset", 2, [](H&, E& engine) { engine.Reset(); }},
      {"clear", 1, [](H&, E& engine) { engine.Clear(); }},
      {"halt", 1, [](H& host, E& engine) { engine.SetHalted(host.Draw(2) == 0); }},
      {"interrupt", 1, [](H&, E& engine) { engine.RequestInterrupt(); }},
      {"batch", 1,
       [](H& host, E& engine) {
         TKitStringStream stream("(host)\n" + host.RandomRule() + "\n(read) 1\n");
         engine.Batch(stream);
       }},
      // Settings.
      {"set the strategy", 2,
       [](H& host, E& engine) {
         engine.SetStrategy(host.Draw(2) == 0 ? ssDepthFirst : ssBreadthFirst);
       }},
      {"set the evaluation of saliences", 1,
       [](H& host, E& engine) {
         engine.SalienceEvaluation = host.Draw(2) == 0 ? sActivate : sEveryTime;
       }},
      {"set the duplication of facts", 1,
       [](H& host, E& engine) { engine.SetFactDuplication(host.Draw(2) == 0); }},
      {"set the policy for names", 1,
       [](H& host, E& engine) {
         static constexpr TDuplicateConstructs kPolicies[] = {dcOverwrite, dcOverwrite, dcIgnore,
                                                              dcError};
         engine.DuplicateConstructs = kPolicies[host.Draw(4)];
       }},
      {"set the semantics", 1,
       [](H& host, E& engine) { engine.SetTextbookSemantics(host.Draw(2) == 0); }},
      {"set the packages", 1,
       [](H& host, E& engine) {
         TFunctionPackages packages{pStandard, pMiscellaneous, pPredicate};
         if (host.Draw(2) == 0) packages += {pMath};
         engine.SetPackages(packages);
       }},
      {"set the watches", 1,
       [](H& host, E& engine) {
         engine.Watch = host.Draw(2) == 0 ? kAllWatches : TConstructWatches();
       }},
      {"set the depth", 1,
       [](H& host, E& engine) { engine.SetMaxDepth(host.Draw(2) == 0 ? 20 : 1000); }},
      {"set the error handling", 1,
       [](H& host, E& engine) {
         engine.SetParserErrorHandling(host.Draw(2) == 0 ? ehRaiseImmediate : ehRaiseAllAtEnd);
       }},
      {"switch the network", 1,
       [](H& host, E& engine) { engine.GetReteNetwork().SetEnabled(host.Draw(4) != 0); }},
      {"change the parser", 1,
       [](H& host, E& engine) {
         engine.SetParserType(
             [](E& made_for) { return std::make_unique<TKBClipsParser>(made_for); });
         host.AttachToParser();
       }},
      {"change an event", 4, [](H& host, E&) { host.ChangeSomeEvent(); }},
      // Objects.
      {"change a rule's properties", 4,
       [](H& host, E& engine) {
         const Ref<IKBValue> call = NewFunCallValue(engine.ParseFunCall("(f 2)"));
         TRule* const rule = host.AnyRule();
         if (rule == nullptr) return;
         const auto act = [&host](auto&&...) { host.FromEvent(); };
         switch (host.Draw(6)) {
           case 0:
             return rule->SetSalience(static_cast<std::int32_t>(host.Draw(5)));
           case 1:
             return rule->SetSalience(call);
           case 2:
             return rule->SetRuleName(host.RuleName());
           case 3:
             rule->OnChange = act;
             return;
           case 4:
             rule->OnFire = act;
             return;
           default:
             rule->OneShot = host.Draw(2) == 0;
             rule->Enabled = host.Draw(4) != 0;
             rule->Change();
         }
       }},
      {"make a rule", 3, [](H& host, E&) { host.MakeRule(); }},
      {"end a rule", 3, [](H& host, E&) { host.EndRule(); }},
      {"remove a rule", 2, [](H& host, E& engine) { engine.GetRules().Remove(host.RuleName()); }},
      {"put a rule under a name", 2,
       [](H& host, E& engine) {
         if (host.rules_.empty()) return;
         TRule& rule = *host.rules_[host.Draw(static_cast<std::uint32_t>(host.rules_.size()))];
         engine.GetRules().Put(host.RuleName(), &rule);
       }},
      {"move a rule", 2,
       [](H& host, E& engine) {
         if (host.rules_.empty()) return;
         TRule& rule = *host.rules_[host.Draw(static_cast<std::uint32_t>(host.rules_.size()))];
         rule.SetEngine(rule.GetEngine() == nullptr ? &engine : nullptr);
       }},
      {"assign a rule", 2,
       [](H& host, E& engine) {
         const std::unique_ptr<TRule> source = engine.ParseRule(host.RandomRule());
         TRule* const rule = host.AnyRule();
         if (rule != nullptr) rule->Assign(*source);
       }},
      {"edit a rule", 3,
       [](H& host, E& engine) {
         if (!kEdits) return;
         const Ref<IFunCall> call = engine.ParseFunCall("(host)");
         const std::unique_ptr<TRule> source = engine.ParseRule(host.RandomRule());
         TRule* const rule = host.AnyRule();
         if (rule == nullptr) return;
         switch (host.Draw(4)) {
           case 0:
             return rule->AddAction(call);
           case 1:
             return rule->ClearActions();
           case 2:
             if (rule->GetPatternCount() > 1) rule->RemovePattern(rule->GetPatternCount() - 1);
             return;
           default:
             return rule->SetPatterns(*source);
         }
       }},
      {"rename a template", 2,
       [](H& host, E& engine) {
         if (const Ref<IFactTemplate> item = host.AnyOf(engine.GetFactTemplates()))
           item->SetTemplateName(host.Pick({"a", "b", "d"}));
       }},
      {"rename a type", 1,
       [](H& host, E& engine) {
         if (const Ref<IKBDefinedType> item = host.AnyOf(engine.GetDefinedTypes()))
           item->SetName(host.Pick({"heat", "cold"}));
       }},
      {"rename a function", 2,
       [](H& host, E& engine) {
         if (const Ref<IUserFunction> item = engine.GetUserFunctions().Find(host.FunctionName()))
           item->SetFunctionName(host.FunctionName());
       }},
      {"rename a fact set", 1,
       [](H& host, E& engine) {
         if (engine.GetFactSets().GetCount() > 0)
           engine.GetFactSets().GetItem(0).SetFactSetName(host.Pick({"s", "t"}));
       }},
      {"make a function", 3, [](H& host, E&) { host.MakeFunction(); }},
      {"end a function", 2, [](H& host, E&) { host.EndFunction(); }},
      {"rename a host's function", 1,
       [](H& host, E&) {
         if (!host.functions_.empty()) host.functions_.back()->SetFunctionName(host.FunctionName());
       }},
      {"make a package", 1,
       [](H& host, E& engine) {
         auto* const package = new TUserPackage(&engine);
         package->OnCreateFunctions = [&host](TUserPackage&) { host.FromEvent(); };
         package->Rebuild();
       }},
      {"rebuild the agenda", 1, [](H&, E& engine) { engine.SetAgenda(engine.GetAgenda()); }},
      {"copy the agenda", 1,
       [](H&, E& engine) {
         TActivationAgenda copy;
         copy.Assign(engine.GetAgenda());
         engine.SetAgenda(copy);
       }},
      {"take an activation off", 1,
       [](H&, E& engine) {
         if (engine.GetAgendaCount() > 0) engine.RemoveActivation(0).reset();
       }},
      {"clear the agenda", 1, [](H&, E& engine) { engine.GetAgenda().Clear(); }},
      {"print everything", 1,
       [](H&, E& engine) {
         engine.GetExpertSystem();
         engine.GetAgenda().ToString();
         TCaptionNode tree;
         engine.GetReteNetwork().FillTreeView(tree);
         engine.GetFactTemplates().FillTreeView(tree);
       }},
      {"load what was saved", 1,
       [](H&, E& engine) { engine.SetExpertSystem(engine.GetExpertSystem()); }},
      {"copy the engine", 1,
       [](H& host, E& engine) {
         E copy;
         copy.OnRemoveRule = [&host](E&, TRule&) { host.FromEvent(); };
         copy.Assign(engine);
         if (host.Draw(2) == 0) engine.Assign(copy);
       }},
      {"objects of another engine", 2,
       [](H& host, E& engine) {
         if (!kForeign) return;
         E other;
         const Ref<IFact> fact = other.ParseFact("(a (x 1))");
         other.Assert(fact);
         engine.Assert(fact);
         engine.GetRules().Add(other.ParseRule(host.RandomRule()));
         engine.Assert(Ref<IFact>());
       }},
  };
  return kList;
}

// The programs are dealt out to several tests, so that they run beside each other.
class RandomHostTest : public ::testing::TestWithParam<std::uint32_t> {};

constexpr std::uint32_t kParts = 10;

TEST_P(RandomHostTest, DoesWhatItLikesAndTheEngineStaysSound) {
  const std::uint32_t count = Setting("REASONER_HOST_PROGRAMS", 2000) / kParts;
  const std::uint32_t first = Setting("REASONER_HOST_SEED", 1) + GetParam() * count;
  for (std::uint32_t i = 0; i < count && !HasFailure(); ++i) RandomHost(first + i).RunProgram();
}

INSTANTIATE_TEST_SUITE_P(Parts, RandomHostTest, ::testing::Range(0u, kParts));

}  // namespace
}  // namespace reasoner
