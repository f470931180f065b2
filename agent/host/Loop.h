// The event loop, on virtual time: nothing sleeps, and time moves only while the loop runs.
//
// While a loop exists it is the process's source of time, unless another one was activated since.
#pragma once

#include "platform/Orv/Clock.h"
#include "platform/Orv/System.h"

namespace Agent {

using Orv::Seconds;

class Loop {
 public:
   Loop() { activate(); }
   ~Loop() { Orv::System::timeSourceIs(nullptr); }
   Loop(Loop const&) = delete;
   Loop& operator=(Loop const&) = delete;

   // Makes this loop the source of time again.
   void activate() { Orv::System::timeSourceIs(&time_); }

   Orv::VirtualTime& time() { return time_; }
   Orv::VirtualTime const& time() const { return time_; }
   // Where clocks ask for their wake-ups.
   Orv::Timers& timers() { return timers_; }

   // Runs what is due in the next `seconds`; the time is then that much later, or later still where
   // reading the clock takes time.
   void advance(Seconds seconds);
   // Runs what is due until `end`; the time stays at the last wake-up.
   void runUntil(Seconds end);
   // The same, but only as long as `busy` says so. Returns what it said last.
   template<class Busy>
   bool runWhile(Busy busy, Seconds end) {
      while (busy() && isDue(end)) {
         runNext();
      }
      return busy();
   }

 private:
   bool isDue(Seconds end) const { return !timers_.idle() && timers_.next() <= end; }
   void runNext();

   Orv::VirtualTime time_;
   Orv::Timers timers_;
};

} // namespace Agent
