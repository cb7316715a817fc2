// The children of a node that has many, found by the constants that they compare.
//
// Rules often differ in a constant alone: `(order (state open))`, `(order (state paid))` and so on.
// The nodes that compare one place of a fact with atoms, strings or integers are listed by these,
// so that a fact meets those whose constant it has and not all of them. Children of any other kind
// are met by every fact. All keep the order in which they were added.

#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "reasoner/match/PatternNode.h"

namespace reasoner {

class TConstantDispatch {
 public:
  // So many children that are told by a constant make a list worth while.
  static constexpr std::int32_t kLeast = 8;
  // Whether nodes of this test are listed, and whether the node is one of them.
  static bool IsByConstant(TPatternMatchTest test, const IKBValue& constant);
  static bool IsByConstant(const TReteNode& node);

  void Add(const TReteEdge& edge);
  // Takes out all edges to the node, which has to be alive.
  void Remove(const TReteNode& node);

  // Calls visit(edge) for each child that the fact may pass. No child comes or goes meanwhile.
  template <class TVisit>
  void Visit(IFact& fact, TVisit&& visit) const;
  // The child that serves a test that is listed, or null.
  TReteNode* Find(TPatternMatchTest test, const IKBValue& constant, const TNodeArgs& args) const;

 private:
  struct TEntry {
    std::uint64_t number;
    TReteEdge edge;
  };
  using TEntries = std::vector<TEntry>;
  struct TConstant {
    TKBType type = dtNone;
    std::int32_t integer = 0;
    Text text;

    friend bool operator==(const TConstant& a, const TConstant& b) noexcept {
      return a.type == b.type && a.integer == b.integer && a.text == b.text;
    }
  };
  struct THash {
    std::size_t operator()(const TConstant& constant) const noexcept {
      return std::hash<std::string_view>()(constant.text.view()) * 31 +
             std::hash<std::int32_t>()(constant.integer) * 7 + constant.type;
    }
  };
  // The nodes that compare one place.
  struct TPlace {
    TSlotAccess slot;
    std::int32_t sub_index;
    TPatternMatchTest test;
    std::unordered_map<TConstant, TEntries, THash> nodes;
  };
  struct TRun {
    const TEntry* next;
    const TEntry* end;
  };

  static TConstant ConstantOf(const IKBValue& value);
  template <class TPlaces>
  static auto* FindPlace(TPlaces& places, TPatternMatchTest test, const TNodeArgs& args) {
    for (auto& place : places) {
      if (place.test == test && place.sub_index == args.first &&
          place.slot.GetName() == args.first_slot)
        return &place;
    }
    return decltype(&places.front())(nullptr);
  }
  // What the fact meets, each in order; `kept` holds what had to be put in order anew.
  std::vector<TRun> RunsFor(IFact& fact, TEntries& kept) const;

  std::uint64_t last_number_ = 0;
  std::vector<TPlace> places_;
  TEntries others_;
};

template <class TVisit>
void TConstantDispatch::Visit(IFact& fact, TVisit&& visit) const {
  TEntries kept;
  std::vector<TRun> runs = RunsFor(fact, kept);
  while (!runs.empty()) {
    std::size_t first = 0;
    for (std::size_t i = 1; i < runs.size(); ++i) {
      if (runs[i].next->number < runs[first].next->number) first = i;
    }
    const TEntry& entry = *runs[first].next;
    if (++runs[first].next == runs[first].end)
      runs.erase(runs.begin() + static_cast<std::ptrdiff_t>(first));
    visit(entry.edge);
  }
}

}  // namespace reasoner
