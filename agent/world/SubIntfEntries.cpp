#include "agent/world/SubIntfEntries.h"

#include "agent/world/World.h"

#include <algorithm>

namespace Agent {

using Hardware::ShoalTunnel::VlanTagToVsiMapperResult;

std::vector<SubIntfEntries::Key> SubIntfEntries::wanted(IntfId subIntf) const {
   auto status = world_.subIntfStatusDir->subIntfStatus(subIntf);
   Bridging::Dot1qEncap encap = world_.encapsulation(subIntf);
   std::vector<Key> keys;
   if (!status || !status->programInHw() || encap.isZero()) {
      return keys;
   }
   for (IntfId port : world_.portsOf(Plexus::SubIntfId::parentIntfId(subIntf))) {
      FapId unit = world_.placeOf(port).fapId;
      if (!unit.isNull() && world_.shoalStatus->fapType(unit) != Hardware::Shoal::fapTypeArad) {
         keys.push_back(Key::ofSubIntf(port, subIntf, encap, status->encapKind()));
      }
   }
   return keys;
}

void SubIntfEntries::refresh(IntfId subIntf) {
   auto keys = wanted(subIntf);
   auto& present = entries_[subIntf];
   auto missesIn = [](std::vector<Key> const& list, Key key) {
      return std::find(list.begin(), list.end(), key) == list.end();
   };
   for (Key key : present) {
      if (missesIn(keys, key)) {
         world_.vtagToVsiConfig->configDel(key);
      }
   }
   for (Key key : keys) {
      if (missesIn(present, key)) {
         world_.vtagToVsiConfig->configIs(key, VlanTagToVsiMapperResult{++lastLif_, 0});
      }
   }
   present = std::move(keys);
}

} // namespace Agent
