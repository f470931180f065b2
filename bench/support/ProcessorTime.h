// Time as the benchmarks count it.
#pragma once

#include <ctime>

namespace Bench {

// Seconds of processor time of this process. The measured code never waits, so the difference from
// elapsed time is the time of other programs.
inline double processorTime() {
   timespec now{};
   ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
   return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

} // namespace Bench
