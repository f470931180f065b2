// Base of backlog processors: machines that queue work as changes arrive and do it in time slices.
//
// Owns the dispatch timer. When it fires, the derived class's processBacklog(start) works one slice
// and returns the number of items worked. While backlogSize() is above 0, the base requests another
// slice at once, which runs after the other timers that are due. A slice that ends with an
// exception is counted and followed like any other. The exception propagates to the caller of
// Timers::runDue().
#pragma once

#include "platform/Orv/Clock.h"

namespace Keel {

using Orv::Seconds;

class ORV_EXPORT CodefBase : public Orv::RefCounted {
 public:
   explicit CodefBase(Orv::Ptr<Orv::Clock const> clock);
   ~CodefBase() override;

   // Works one slice that began at `start`; returns the number of items worked.
   virtual uint32_t processBacklog(Seconds const& start) = 0;
   virtual std::size_t backlogSize() const = 0;

   Seconds backlogQuantum() const { return backlogQuantum_; }
   void backlogQuantumIs(Seconds quantum) { backlogQuantum_ = quantum; }

   // Changes received; the derived class counts them.
   ORV_COUNTER(updatesSeen)
   // Items worked, and slices run.
   ORV_COUNTER(updatesProcessed)
   ORV_COUNTER(dispatchCount)
   // Slices that ended with work left.
   ORV_COUNTER(yieldBeforeFinishingCount)
   // Changes without an item of their own, because one item covered several changes or because
   // there was nothing to do: the changes received, less the items worked and those waiting. An
   // item that is queued again without a change (a retry) makes this number smaller.
   uint64_t updatesCoalesced() const;
   // Seconds spent in slices.
   Seconds timeUsed() const { return timeUsed_; }

   // The dispatch timer: timeMinIs(0.0) asks for a slice at once.
   class ORV_EXPORT Dispatch : public Orv::ClockNotifiee {
    public:
      Dispatch(CodefBase* base, Orv::Ptr<Orv::Clock const> clock)
          : ClockNotifiee(std::move(clock)), base_(base) {}
      void handleTime() override { base_->dispatch(); }

    private:
      CodefBase* base_;
   };
   Dispatch& clockNotifiee() { return clockNotifiee_; }
   Dispatch const& clockNotifiee() const { return clockNotifiee_; }

 protected:
   // Replaces the return value of a slice that ends with an exception: the number of items worked,
   // including the one that threw, which must not be in the backlog any more.
   void workedBeforeExceptionIs(uint32_t items) { workedBeforeException_ = items; }

 private:
   void dispatch();
   void endSlice(Seconds start, uint32_t worked);

   Dispatch clockNotifiee_;
   Seconds backlogQuantum_ = 0.1;
   Seconds timeUsed_ = 0.0;
   uint32_t workedBeforeException_ = 0;
};

} // namespace Keel
