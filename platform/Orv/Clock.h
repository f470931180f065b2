// Timers on the event loop's thread.
//
// A notifiee requests one call at an absolute time; a new request replaces the old one. A time that
// is not in the future, such as 0, means at once: the event loop makes the call, never timeMinIs()
// itself, and it makes it after all calls that were due before. So a notifiee that always requests
// another call does not starve the others. A request for at once needs no search and no allocation,
// and repeating it does not read the time, so it may be made at every change of a burst.
#pragma once

#include "platform/Orv/Entity.h"
#include "platform/Orv/System.h"

#include <set>

namespace Orv {

class Clock;
class ClockNotifiee;

// The requests of one event loop, in order of time, then of request. The loop calls runDue().
class ORV_EXPORT Timers {
 public:
   Timers() = default;
   Timers(Timers const&) = delete;
   Timers& operator=(Timers const&) = delete;

   bool idle() const { return ahead_.empty() && first_ == nullptr; }
   // The time of the earliest request. Must not be called while idle().
   Seconds next() const;
   // Calls each notifiee whose request is due. Requests made during this run wait for the next one.
   // Returns the number of calls.
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
   ClockNotifiee* earliest() const; // null while idle

   std::set<Request> ahead_; // requests for a later time
   // Requests for at once, linked in order of request, in which their times ascend.
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
   Seconds timeMin() const { return time_; } // of the present request, else of the last one
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
