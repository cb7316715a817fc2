// How often each feature occurs in the programs of a run, and what came of it.

#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

#include "tests/oracle/Runner.h"

namespace reasoner::oracle {

class TStatistics {
 public:
  void Count(const TProgram& program, const TOutcome& outcome);
  void Print(std::ostream& stream) const;

 private:
  std::int64_t programs_ = 0;
  std::map<std::string, std::int64_t> having_;  // programs by feature
  std::map<std::string, std::int64_t> sums_;
};

}  // namespace reasoner::oracle
