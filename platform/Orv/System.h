// The framework's view of time.
//
// Every machine asks currentTime(); none sleeps or reads a clock of its own. A live agent uses the
// monotonic clock (the default), scenarios and tests install a VirtualTime, so that a run is the
// same each time.
#pragma once

#include "platform/Orv/Export.h"

namespace Orv {

using Seconds = double;

class ORV_EXPORT TimeSource {
 public:
   virtual ~TimeSource();
   virtual Seconds now() = 0;
   // The same for observers, such as traces: looking changes nothing.
   virtual Seconds peek() const = 0;
};

// Time that moves only when told. `costPerReading` lets each reading take that long, so that work
// slices end inside a run on virtual time as they would on a real machine.
class ORV_EXPORT VirtualTime : public TimeSource {
 public:
   Seconds now() override;
   Seconds peek() const override { return now_; }
   void advanceTo(Seconds time); // never moves back
   void costPerReadingIs(Seconds cost) { costPerReading_ = cost; }
   Seconds costPerReading() const { return costPerReading_; }

 private:
   Seconds now_ = 0.0;
   Seconds costPerReading_ = 0.0;
};

class ORV_EXPORT System {
 public:
   static Seconds currentTime();
   static Seconds peekTime();
   // nullptr restores the monotonic clock. The source must outlive its use.
   static void timeSourceIs(TimeSource* source);
};

} // namespace Orv
