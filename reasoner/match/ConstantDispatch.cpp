#include "reasoner/match/ConstantDispatch.h"

#include <algorithm>

namespace reasoner {

static bool IsListed(const IKBValue& constant) {
  const TKBType type = constant.GetDType();
  return type == dtAtom || type == dtString || type == dtInteger;
}

bool TConstantDispatch::IsByConstant(TPatternMatchTest test, const IKBValue& constant) {
  return (test == pmtTestEqual || test == pmtTestMultiSlotEqual) && IsListed(constant);
}

bool TConstantDispatch::IsByConstant(const TReteNode& node) {
  const auto* pattern_node = dynamic_cast<const TPatternMatchNode*>(&node);
  return pattern_node != nullptr && pattern_node->GetValue() &&
         IsByConstant(pattern_node->GetPatternMatchTest(), *pattern_node->GetValue());
}

TConstantDispatch::TConstant TConstantDispatch::ConstantOf(const IKBValue& value) {
  if (value.GetDType() == dtInteger) return {dtInteger, value.RawInteger(), Text()};
  return {value.GetDType(), 0, value.GetAsString()};
}

void TConstantDispatch::Add(const TReteEdge& edge) {
  const TEntry entry{++last_number_, edge};
  if (!IsByConstant(*edge.to)) {
    others_.push_back(entry);
    return;
  }
  const auto& node = static_cast<const TPatternMatchNode&>(*edge.to);
  TPlace* place = FindPlace(places_, node.GetPatternMatchTest(), node.GetArgs());
  if (place == nullptr) {
    places_.push_back(TPlace{TSlotAccess(node.GetArgs().first_slot),
                             node.GetArgs().first,
                             node.GetPatternMatchTest(),
                             {}});
    place = &places_.back();
  }
  place->nodes[ConstantOf(*node.GetValue())].push_back(entry);
}

void TConstantDispatch::Remove(const TReteNode& node) {
  const auto take_out = [&node](TEntries& entries) {
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [&node](const TEntry& entry) { return entry.edge.to == &node; }),
                  entries.end());
  };
  if (!IsByConstant(node)) return take_out(others_);
  const auto& compared = static_cast<const TPatternMatchNode&>(node);
  TPlace* place = FindPlace(places_, compared.GetPatternMatchTest(), compared.GetArgs());
  if (place == nullptr) return;
  const auto found = place->nodes.find(ConstantOf(*compared.GetValue()));
  if (found == place->nodes.end()) return;
  take_out(found->second);
  if (found->second.empty()) place->nodes.erase(found);
  if (place->nodes.empty()) places_.erase(places_.begin() + (place - places_.data()));
}

std::vector<TConstantDispatch::TRun> TConstantDispatch::RunsFor(IFact& fact, TEntries& kept) const {
  std::vector<TRun> runs;
  const auto add = [&runs](const TEntries& entries) {
    if (!entries.empty()) runs.push_back({entries.data(), entries.data() + entries.size()});
  };
  for (const TPlace& place : places_) {
    const Ref<IKBValue> value = TPatternMatchNode::PlaceIn(fact, place.slot, place.sub_index);
    if (!value) continue;
    if (value->GetDType() == dtFuzzy) {
      // It equals every number that it overlaps.
      for (const auto& [constant, entries] : place.nodes)
        kept.insert(kept.end(), entries.begin(), entries.end());
    } else if (IsListed(*value)) {
      const auto found = place.nodes.find(ConstantOf(*value));
      if (found != place.nodes.end()) add(found->second);
    }
  }
  std::sort(kept.begin(), kept.end(),
            [](const TEntry& a, const TEntry& b) { return a.number < b.number; });
  add(kept);
  add(others_);
  return runs;
}

TReteNode* TConstantDispatch::Find(TPatternMatchTest test, const IKBValue& constant,
                                   const TNodeArgs& args) const {
  const TPlace* place = FindPlace(places_, test, args);
  if (place == nullptr) return nullptr;
  const auto found = place->nodes.find(ConstantOf(constant));
  if (found == place->nodes.end()) return nullptr;
  for (const TEntry& entry : found->second) {
    if (static_cast<const TPatternMatchNode*>(entry.edge.to)->Serves(test, &constant, args))
      return entry.edge.to;
  }
  return nullptr;
}

}  // namespace reasoner
