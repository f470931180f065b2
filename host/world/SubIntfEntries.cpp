#include "host/world/SubIntfEntries.h"

#include "host/world/WorldView.h"

#include <algorithm>

namespace ShoalHost {

using Hardware::ShoalTunnel::VlanTagToVsiMapperResult;

std::vector<SubIntfEntries::Entry> SubIntfEntries::wanted(IntfId subIntf) const {
   auto status = world_.subIntfStatusDir->subIntfStatus(subIntf);
   Bridging::Dot1qEncap encap = world_.encapsulation(subIntf);
   std::vector<Entry> found;
   if (!status || !status->programInHw() || encap.isZero()) {
      return found;
   }
   for (IntfId port : world_.portsOf(Plexus::SubIntfId::parentIntfId(subIntf))) {
      FapId unit = world_.placeOf(port).fapId;
      if (!unit.isNull() && world_.shoalStatus->fapType(unit) != Hardware::Shoal::fapTypeArad) {
         found.push_back({Key::ofSubIntf(port, subIntf, encap, status->encapKind()), unit});
      }
   }
   return found;
}

void SubIntfEntries::refresh(IntfId subIntf) {
   auto entries = wanted(subIntf);
   if (entries.empty() && !entries_.contains(subIntf)) {
      return;
   }
   auto& present = entries_[subIntf];
   auto missesIn = [](std::vector<Entry> const& list, Entry const& entry) {
      return std::find(list.begin(), list.end(), entry) == list.end();
   };
   for (Entry const& entry : present) {
      if (missesIn(entries, entry)) {
         world_.vtagToVsiConfig->configDel(entry.key);
      }
   }
   for (Entry const& entry : entries) {
      if (missesIn(present, entry)) {
         world_.vtagToVsiConfig->configIs(entry.key, VlanTagToVsiMapperResult{++lastLif_, 0});
      }
   }
   present = std::move(entries);
}

} // namespace ShoalHost
