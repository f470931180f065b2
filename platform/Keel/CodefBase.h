// Base of backlog processors: machines that note work as it comes and do it in time slices.
//
// Owns the dispatch timer. When it fires, the derived class's processBacklog(now) works one slice
// and returns how many items it worked; while backlogSize() is above 0 the base asks for another
// slice at once, behind whatever else the loop has to do. A slice that ends by an exception counts
// like any other, and is followed by the next; the exception goes on to whoever runs the timers.
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

   // Changes noted; the derived class counts them.
   ORV_COUNTER(updatesSeen)
   // Items worked, and slices run.
   ORV_COUNTER(updatesProcessed)
   ORV_COUNTER(dispatchCount)
   // Slices that ended with work left.
   ORV_COUNTER(yieldBeforeFinishingCount)
   // Changes that needed no item of their own, because one item stood for several changes or
   // because nothing was left to do: changes seen less items worked and items waiting. Items that
   // were queued again without a change (retries) are no changes, and make this figure smaller.
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
   // For a slice that an exception leaves, in place of its return value: the number of items
   // worked, the one that threw included. That one must be out of the backlog.
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
