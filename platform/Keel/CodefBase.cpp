#include "platform/Keel/CodefBase.h"

namespace Keel {

CodefBase::CodefBase(Orv::Ptr<Orv::Clock const> clock) : clockNotifiee_(this, std::move(clock)) {}

CodefBase::~CodefBase() = default;

void CodefBase::dispatch() {
   Seconds start = Orv::System::currentTime();
   dispatchCountInc(1);
   updatesProcessedInc(processBacklog(start));
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
