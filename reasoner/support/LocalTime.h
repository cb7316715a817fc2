// The clock of the place where the process runs.

#pragma once

#include <ctime>

namespace reasoner {

// A point of time as local date and time of day; unlike the C library's own, safe among threads.
inline std::tm LocalTime(std::time_t time) {
  std::tm parts{};
#if defined(_WIN32)
  localtime_s(&parts, &time);
#else
  localtime_r(&time, &parts);
#endif
  return parts;
}

}  // namespace reasoner
