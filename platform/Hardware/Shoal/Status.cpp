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

} // namespace Hardware::Shoal
