// What the engine does not do yet as the reading says it: the generator draws it once it does.

#pragma once

namespace reasoner::oracle {

// In textbook semantics a unique pattern's first partner is the oldest fact, beyond id 100, too.
constexpr bool kUniqueTakesTheOldest = false;

}  // namespace reasoner::oracle
