// What displays of an engine's constructs show, as trees of captions.

#pragma once

#include "reasoner/facts/FactTemplate.h"
#include "reasoner/support/CaptionTree.h"

namespace reasoner {

// A type with its ancestor, primitive types, comment, units and facets, each only where there is
// one.
TCaptionNode TypeTree(const IKBDefinedType& type);
// A slot with its types, its default and its defined type.
TCaptionNode SlotTree(const IFactSlot& slot);
// A template with its comment, its parent and its slots by name.
TCaptionNode TemplateTree(const IFactTemplate& fact_template);

}  // namespace reasoner
