#include "platform/Keel/CodefBase.h"

namespace Keel {

CodefBase::CodefBase(Orv::Ptr<Orv::Clock const> clock) : clockNotifiee_(this, std::move(clock)) {}

CodefBase::~CodefBase() = default;

void CodefBase::dispatch() {
   Seconds start = Orv::System::currentTime();
   dispatchCountInc(1);
   workedBeforeException_ = 0;
   uint32_t worked = 0;
   try {
      worked = processBacklog(start);
   } catch (...) {
      endSlice(start, workedBeforeException_);
      throw;
   }
   endSlice(start, worked);
}

void CodefBase::endSlice(Seconds start, uint32_t worked) {
   updatesProcessedInc(worked);
   timeUsed_ += Orv::System::currentTime() - start;
   if (backlogSize() > 0) {
      yieldBeforeFinishingCountInc(1);
      clockNotifiee_.timeMinIs(0.0);
   }
}

uint64_t CodefBase::updatesCoalesced() const {
   uint64_t accounted = updatesProcessed() + backlogSize();
   return updatesSeen() > accounted ? updatesSeen() - accounted : 0;
}

} // namespace Keel
