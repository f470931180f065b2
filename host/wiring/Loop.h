// The event loop: what is due when, for a loop of the program's own; or, on virtual time, a loop
// that never sleeps and moves time only while it runs.
#pragma once

#include "platform/Orv/Clock.h"
#include "platform/Orv/System.h"

namespace ShoalHost {

using Orv::Seconds;

// Which clock the machines read. On virtual time the loop is the process's source of time while it
// exists, unless another one was activated since.
enum class Time { system, simulated };

class Loop {
 public:
   explicit Loop(Time time) : simulated_(time == Time::simulated) { activate(); }
   ~Loop() {
      if (simulated_) {
         Orv::System::timeSourceIs(nullptr);
      }
   }
   Loop(Loop const&) = delete;
   Loop& operator=(Loop const&) = delete;

   // Makes this loop the source of time again, if it is on virtual time.
   void activate() {
      if (simulated_) {
         Orv::System::timeSourceIs(&time_);
      }
   }
   bool simulated() const { return simulated_; }

   Orv::VirtualTime& time() { return time_; }
   Orv::VirtualTime const& time() const { return time_; }
   // Where clocks ask for their wake-ups.
   Orv::Timers& timers() { return timers_; }
   Orv::Timers const& timers() const { return timers_; }

   // On virtual time only:

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

   bool simulated_;
   Orv::VirtualTime time_;
   Orv::Timers timers_;
};

} // namespace ShoalHost
