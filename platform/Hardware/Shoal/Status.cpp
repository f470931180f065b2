#include "platform/Hardware/Shoal/Status.h"

namespace Hardware::Shoal {

SystemTcamId fapLocalCoreIdToSystemTcamId(Orv::Ptr<Status const> const& status, FapId fapId,
                                          uint32_t localCoreId) {
   if (!status || fapId.isNull() || localCoreId >= kCoresPerFap) {
      return SystemTcamId();
   }
   // 2048 is left out: it marks an unset id.
   uint32_t number = fapId.value() * kCoresPerFap + localCoreId;
   return SystemTcamId(static_cast<uint16_t>(number < 2048 ? number : number + 1));
}

FapId fapOf(SystemTcamId tcamId) {
   if (tcamId == SystemTcamId()) {
      return FapId();
   }
   uint32_t number = tcamId.value() < 2048 ? tcamId.value() : tcamId.value() - 1U;
   return FapId(number / kCoresPerFap);
}

} // namespace Hardware::Shoal
