// The registries of an engine: its constructs by name.
//
// Each is a table in the order in which the names came. A second construct of a name is dealt with
// by the engine's DuplicateConstructs: it takes the first one's place, is passed over, or raises.
// The very same object is no duplicate. Every insertion comes through PutValue, so that no road
// passes the policy by.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/facts/DefinedType.h"
#include "reasoner/facts/FactSet.h"
#include "reasoner/facts/FactTemplate.h"
#include "reasoner/functions/UserFunction.h"
#include "reasoner/match/Rule.h"
#include "reasoner/support/CaptionTree.h"
#include "reasoner/support/NameTable.h"
#include "reasoner/values/ValueHashTable.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

class TReasoner;

// What the tables of counted constructs have in common. The engine owns the registry.
template <class TItem>
class TRegistry : public TPersistent {
 public:
  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(table_.size()); }
  bool ContainsKey(std::string_view name) const { return table_.Contains(name); }
  // Null for an unknown name.
  TItem Find(std::string_view name) const {
    const TItem* found = table_.Find(name);
    return found == nullptr ? TItem{} : *found;
  }
  TItem GetItem(std::string_view name) const { return Find(name); }
  // False, and a null item, for an unknown name.
  bool ContainsKey(std::string_view name, TItem& item) const {
    item = Find(name);
    return ContainsKey(name);
  }
  // In the order in which the names came; raises "List index out of bounds (%d)".
  TItem GetItemByIndex(std::int32_t index) const {
    if (index < 0 || index >= GetCount()) Raise(SListIndexError, index);
    return GetItems()[static_cast<std::size_t>(index)];
  }
  std::vector<std::string> GetNames() const { return table_.Names(); }
  // A copy of the items in order: a walk over it may change the registry.
  std::vector<TItem> GetItems() const { return table_.Values(); }

  void Put(std::string_view name, const TItem& item) { PutValue(name, item); }
  void SetItem(std::string_view name, const TItem& item) { PutValue(name, item); }

 protected:
  explicit TRegistry(TReasoner& engine) : engine_(engine) {}
  virtual void PutValue(std::string_view name, const TItem& item) = 0;
  // Takes this very item out, whatever name it stands under: it may call itself otherwise while it
  // is being renamed. Gives whether it was there.
  bool TakeItem(const TItem& item) {
    std::string key;
    table_.ForEach([&](const std::string& name, const TItem& listed) {
      if (listed == item) key = name;
    });
    return Find(key) == item && (table_.Take(key), true);
  }

  TReasoner& engine_;
  NameTable<TItem> table_;
};

class TFactTemplates : public TRegistry<Ref<IFactTemplate>> {
 public:
  explicit TFactTemplates(TReasoner& engine) : TRegistry(engine) {}
  void Add(const Ref<IFactTemplate>& fact_template) {
    Put(Given(fact_template, "template").GetTemplateName(), fact_template);
  }
  // Puts `fact_template` in the place of `old`, which may be null, and rebuilds what depends on it.
  // Gives the registered one: a template of another engine is copied.
  Ref<IFactTemplate> Replace(const Ref<IFactTemplate>& old,
                             const Ref<IFactTemplate>& fact_template);
  // Removes the template with its facts and the rules that have a pattern on it. An unknown name is
  // nothing.
  void Remove(std::string_view name);
  void Clear();
  // Makes this registry equal to another engine's: what that one lacks goes, what differs is
  // replaced by a copy.
  void Assign(const TPersistent& source) override;
  // Parents before their children. Raises for a circle of parents.
  std::vector<Ref<IFactTemplate>> GetParentsFirst() const;
  std::string ToString() const override;
  // The templates with their slots, for display.
  void FillTreeView(TCaptionNode& tree) const;
  static void FillTreeViewNode(TCaptionNode& node, const IFactTemplate& fact_template);
  static void FillNodeSlot(TCaptionNode& node, const IFactSlot& slot);

 protected:
  void PutValue(std::string_view name, const Ref<IFactTemplate>& fact_template) override;

 private:
  friend class TReasoner;
  Ref<IFactTemplate> CopyOf(const IFactTemplate& fact_template) const;
  // The template itself, or a copy of one that belongs to another engine.
  Ref<IFactTemplate> OwnTemplate(const Ref<IFactTemplate>& fact_template) const;

  // Takes a listed template out with what depends on it.
  void TakeOut(const Ref<IFactTemplate>& fact_template);
};

class TKBDefinedTypes : public TRegistry<Ref<IKBDefinedType>> {
 public:
  explicit TKBDefinedTypes(TReasoner& engine) : TRegistry(engine) {}
  void Add(const Ref<IKBDefinedType>& type) { Put(Given(type, "type").GetName(), type); }
  Ref<IKBDefinedType> Replace(const Ref<IKBDefinedType>& old, const Ref<IKBDefinedType>& type);
  // Removes the type with the templates that use it, their facts and rules.
  void Remove(std::string_view name);
  void Clear();
  // Makes this registry equal to another engine's: what that one lacks goes, what differs is
  // replaced by a copy.
  void Assign(const TPersistent& source) override;
  // Ancestors before their descendants. Raises for a circle of ancestors.
  std::vector<Ref<IKBDefinedType>> GetAncestorsFirst() const;
  std::string ToString() const override;

 protected:
  void PutValue(std::string_view name, const Ref<IKBDefinedType>& type) override;

 private:
  friend class TReasoner;

  Ref<IKBDefinedType> CopyOf(const IKBDefinedType& type) const;
  Ref<IKBDefinedType> OwnType(const Ref<IKBDefinedType>& type) const;
  void ChangeAncestor(const Ref<IKBDefinedType>& old, const Ref<IKBDefinedType>& type);
};

class TUserFunctions : public TRegistry<Ref<IUserFunction>> {
 public:
  explicit TUserFunctions(TReasoner& engine) : TRegistry(engine) {}
  // Null raises.
  void Add(const Ref<IUserFunction>& function) {
    Put(function ? function->GetFunctionName().view() : std::string_view(), function);
  }
  // A built-in function comes back when the one that stood in for it goes, be it interpreted or a
  // host's.
  void Remove(std::string_view name);
  // Tells every function that the engine leaves it; raises no event.
  void Clear();
  // Takes over the functions of another engine: interpreted ones by their text, others by the same
  // object, unless this engine has one of the class. With `tolerant` an interpreted function that
  // does not parse is passed over, and the answer is false.
  bool Assign(const TUserFunctions& source, bool tolerant);
  void Assign(const TPersistent& source) override;
  // In the order in which the functions were defined, whatever the order of the list.
  bool AssignInterpretedFunctions(std::vector<Ref<IUserFunction>> functions, bool tolerant);
  std::int32_t GetInterpretedCount() const noexcept { return interpreted_; }
  // The printed form of each interpreted function.
  std::string ToString() const override;

 protected:
  void PutValue(std::string_view name, const Ref<IUserFunction>& function) override;

 private:
  Ref<IUserFunction> OwnFunction(const Ref<IUserFunction>& function) const;
  void RemoveEntry(std::string_view name);

  std::int32_t interpreted_ = 0;
  std::int32_t next_order_ = 0;
};

class TRules : public TRegistry<TRule*> {
 public:
  explicit TRules(TReasoner& engine) : TRegistry(engine) {}
  // A rule of another engine stays there: what is added is a rule read from its text.
  void Add(TRule& rule) { Put(rule.GetRuleName(), &rule); }
  // The same with a rule that the engine is to own from now on.
  void Add(std::unique_ptr<TRule> rule);
  // Takes the rule out of registry and network; the engine's own is freed, a host's stays alive.
  // Gives whether it was there.
  bool Remove(std::string_view name);
  bool Remove(std::string_view name, const TRule& rule);  // only if the name is this very rule's
  void Clear();
  // Takes over the rules of another engine by their text.
  void Assign(const TPersistent& source) override;
  // Sorted by text unless switched off.
  std::string ToString() const override;
  bool SortedOutput = true;

 protected:
  void PutValue(std::string_view name, TRule* const& rule) override;

 private:
  friend class TReasoner;
};

// Free names to values.
class TEngineVariables : public TValueHashTable {
 public:
  explicit TEngineVariables(TReasoner& engine) : engine_(engine) {}
  std::string ToString() const override;

 protected:
  TReasoner& engine_;
};

// The globals with the values that they are defined with: a global is bound as soon as it is
// defined.
class TGlobalVariables final : public TEngineVariables {
 public:
  using TEngineVariables::TEngineVariables;
  void Clear() override;
  // Adds the globals of another engine by their text.
  void Assign(const TPersistent& source) override;

 protected:
  void PutValue(std::string_view name, const Ref<IKBValue>& value) override;
};

// The fact sets in order, not owned: a set that enters gets the engine, one that leaves loses it.
class TFactSets : public TPersistent {
 public:
  explicit TFactSets(TReasoner& engine) : engine_(engine) {}

  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(sets_.size()); }
  TFactSet& GetItem(std::int32_t index) const;
  // A set of the same name gives way. The place of the set.
  std::int32_t Add(TFactSet& fact_set);
  // The same, but the set comes to the index: sets are asserted in this order.
  std::int32_t Insert(std::int32_t index, TFactSet& fact_set);
  // Puts the set in the place of the one at the index, which leaves.
  std::int32_t SetItem(std::int32_t index, TFactSet& fact_set);
  std::int32_t IndexOf(std::string_view name) const;
  std::int32_t IndexOf(const TFactSet& fact_set) const;
  std::int32_t Remove(TFactSet& fact_set);  // ends the engine's own
  void Clear();
  std::vector<TFactSet*> GetItems() const { return sets_; }
  // Takes over copies of another engine's sets, which this engine owns.
  void Assign(const TPersistent& source) override;
  std::string ToString() const override;

 private:
  friend class TReasoner;
  void Leave(TFactSet& fact_set);

  TReasoner& engine_;
  std::vector<TFactSet*> sets_;
};

}  // namespace reasoner
