// Timers on the event loop's thread.
//
// A notifiee asks to be called once at an absolute time; asking again moves the request behind
// those of the same time. A time that is not in the future (0 above all) means at once, but from
// the loop, never from inside the caller, and behind every timer that is due by then: a machine
// that always asks for another slice leaves room for every other event.
//
// A request for at once has no time, only its place among those for at once. So asking with 0 costs
// no search, no allocation and no reading of the time, first or again, and asking again leaves
// nothing of the first request behind: a machine may do so at every change of a burst.
#pragma once

#include "platform/Orv/Entity.h"
#include "platform/Orv/System.h"

#include <set>

namespace Orv {

class Clock;
class ClockNotifiee;

// The timers of one event loop. The loop calls runDue().
class ORV_EXPORT Timers {
 public:
   Timers() = default;
   Timers(Timers const&) = delete;
   Timers& operator=(Timers const&) = delete;

   bool idle() const { return ahead_.empty() && first_ == nullptr; }
   // When the next notifiee wants to be called, at most the present time when one asked for at
   // once; only while not idle().
   Seconds next() const;
   // Calls each notifiee that was due when this call began: those with a time in order of time,
   // then of asking; behind them those for at once in order of asking. What those calls ask for
   // waits for the next run. Returns how many were called.
   std::size_t runDue();

 private:
   friend class ClockNotifiee;
   struct Request {
      Seconds time;
      uint64_t order;
      ClockNotifiee* notifiee;
      friend auto operator<=>(Request const& a, Request const& b) {
         auto byTime = a.time <=> b.time;
         return byTime != 0 ? byTime : std::partial_ordering(a.order <=> b.order);
      }
   };

   std::set<Request> ahead_; // asked for a time ahead
   // Asked for at once, linked in order of asking.
   ClockNotifiee* first_ = nullptr;
   ClockNotifiee* last_ = nullptr;
   uint64_t asked_ = 0;
};

class ORV_EXPORT Clock : public Entity {
   ORV_ENTITY(Clock, "Orv::Clock")

   explicit Clock(Timers& timers) : timers_(timers) {}
   Timers& timers() const { return timers_; }

 private:
   Timers& timers_; // outlives the clock
};

class ORV_EXPORT ClockNotifiee {
 public:
   explicit ClockNotifiee(Ptr<Clock const> clock) : clock_(std::move(clock)) {}
   ClockNotifiee(ClockNotifiee const&) = delete;
   ClockNotifiee& operator=(ClockNotifiee const&) = delete;
   virtual ~ClockNotifiee();

   void timeMinIs(Seconds time);
   void timeMinDel(); // cancels the request
   bool waiting() const { return waiting_; }
   // Of the present or last request; while one for at once waits, the present time.
   Seconds timeMin() const { return waiting_ && atOnce_ ? System::peekTime() : time_; }
   virtual void handleTime() = 0;

 private:
   friend class Timers;
   void link();   // appends to the requests for at once
   void unlink(); // removes from them

   Ptr<Clock const> clock_;
   Seconds time_ = 0.0;
   uint64_t order_ = 0;
   ClockNotifiee* next_ = nullptr;
   ClockNotifiee* previous_ = nullptr;
   bool waiting_ = false;
   bool atOnce_ = false; // while waiting: is among the requests for at once
};

} // namespace Orv
