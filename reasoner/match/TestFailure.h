// What a test that raised is told with: the rule, the pattern and the facts that were at it.

#pragma once

#include "reasoner/match/ReteNode.h"
#include "reasoner/support/Exception.h"

namespace reasoner {

// Appends them to the message. `left` is the match so far, `fact` what it met; each may be null. Of
// several rules that share the node the oldest is named.
void TellMatch(Exception& failure, const TReteNode& node, const TKBToken* left, const IFact* fact);

}  // namespace reasoner
