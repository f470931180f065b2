#include "host/insight/TagCollision.h"

#include "host/text/Text.h"

#include <algorithm>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

namespace {

// In order of name, each once.
std::string listed(std::vector<IntfId> interfaces) {
   constexpr std::size_t shown = 3;
   std::sort(interfaces.begin(), interfaces.end());
   interfaces.erase(std::unique(interfaces.begin(), interfaces.end()), interfaces.end());
   std::size_t more = interfaces.size() - std::min(shown, interfaces.size());
   interfaces.resize(interfaces.size() - more);
   std::string text = join(interfaces, ", ", [](IntfId intf) { return intf.name(); });
   return more == 0 ? text : formatted("{} and {} more", text, more);
}

} // namespace

std::string tagCollision(Host const& host, VlanTagKey const& tag) {
   auto users = host.vlanTags().vlanTagMap->vlanTag(tag);
   if (!users || !users->collide()) {
      return "";
   }
   std::vector<IntfId> subIntfs;
   std::vector<IntfId> ports;
   for (auto const& [key, present] : users->xlateIter()) {
      VlanXlate means = host.vlanTags().vlanXlateStatus->vlanXlate(key);
      if (means.subIntf != IntfId()) {
         subIntfs.push_back(means.subIntf);
      }
      if (means.vlan.value() != 0) {
         ports.push_back(key.phyIntf);
      }
   }
   return formatted("the tag of {}, and a VLAN that {} carr{}", listed(subIntfs), listed(ports),
                    ports.size() == 1 ? "ies" : "y");
}

} // namespace ShoalHost
