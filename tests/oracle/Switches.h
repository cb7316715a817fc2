// What the engine does not do yet as the reading says it: the generator draws it once it does.

#pragma once

namespace reasoner::oracle {

// In textbook semantics a unique pattern's first partner is the oldest fact, whatever its id.
constexpr bool kUniqueTakesTheOldest = false;
// A pair whose test raises is no match, and all others are made.
constexpr bool kTestsMayRaise = true;
// "$?m&:(p)|:(q)".
constexpr bool kSpansHaveBars = true;
// "?f <- (o ?f)".
constexpr bool kFactsNameThemselves = true;
// A template is defined anew: rules that read it come back from their printed text.
constexpr bool kTemplatesComeAnew = true;

}  // namespace reasoner::oracle
