#include "host/wiring/Loop.h"

namespace ShoalHost {

void Loop::runNext() {
   time_.advanceTo(timers_.next());
   timers_.runDue();
}

void Loop::runUntil(Seconds end) {
   while (isDue(end)) {
      runNext();
   }
}

void Loop::advance(Seconds seconds) {
   Seconds end = time_.peek() + seconds;
   runUntil(end);
   time_.advanceTo(end);
}

} // namespace ShoalHost
