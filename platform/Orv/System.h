// The time source of the framework.
//
// All code reads the time here, and none sleeps. The default source is the monotonic clock; with a
// VirtualTime, a run is reproducible.
#pragma once

#include "platform/Orv/Export.h"

namespace Orv {

using Seconds = double;

class ORV_EXPORT TimeSource {
 public:
   virtual ~TimeSource();
   virtual Seconds now() = 0;
   // The same without an effect on the source, for observers such as traces.
   virtual Seconds peek() const = 0;
};

// Time that advances when told, and by `costPerReading` at each reading: with a cost, code that
// works until a given time comes to an end as it does on the monotonic clock.
class ORV_EXPORT VirtualTime : public TimeSource {
 public:
   Seconds now() override;
   Seconds peek() const override { return now_; }
   void advanceTo(Seconds time); // does nothing for an earlier time
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
