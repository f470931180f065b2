#include "platform/Orv/Clock.h"

#include <algorithm>

namespace Orv {

std::size_t Timers::runDue() {
   Seconds now = System::currentTime();
   uint64_t lastOrder = asked_;
   std::size_t called = 0;
   while (!waiting_.empty()) {
      Request request = *waiting_.begin();
      if (request.time > now || request.order > lastOrder) {
         break;
      }
      waiting_.erase(waiting_.begin());
      request.notifiee->waiting_ = false;
      ++called;
      request.notifiee->handleTime();
   }
   return called;
}

ClockNotifiee::~ClockNotifiee() {
   timeMinDel();
}

void ClockNotifiee::timeMinIs(Seconds time) {
   bool atOnce = time <= 0.0;
   // Asked for at once already: it keeps its place. A burst of changes asks each time.
   if (waiting_ && atOnce_ && atOnce) {
      return;
   }
   timeMinDel();
   atOnce_ = atOnce;
   Timers& timers = clock_->timers();
   time_ = std::max(time, System::currentTime());
   order_ = ++timers.asked_;
   waiting_ = true;
   timers.waiting_.insert({time_, order_, this});
}

void ClockNotifiee::timeMinDel() {
   if (waiting_) {
      clock_->timers().waiting_.erase({time_, order_, this});
      waiting_ = false;
   }
}

} // namespace Orv
