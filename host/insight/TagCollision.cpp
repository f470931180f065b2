#include "host/insight/TagCollision.h"

#include "host/text/Text.h"

#include <set>
#include <vector>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

namespace {

std::string listed(std::set<std::string> const& names) {
   constexpr std::size_t shown = 3;
   std::vector<std::string> first;
   for (auto name = names.begin(); name != names.end() && first.size() < shown; ++name) {
      first.push_back(*name);
   }
   std::string text = join(first, ", ", [](std::string const& name) { return name; });
   return names.size() == first.size()
              ? text
              : formatted("{} and {} more", text, names.size() - first.size());
}

} // namespace

std::string tagCollision(Host const& host, VlanTagKey const& tag) {
   auto users = host.vlanTags().vlanTagMap->vlanTag(tag);
   if (!users || !users->collide()) {
      return "";
   }
   std::set<std::string> subIntfs;
   std::set<std::string> ports;
   for (auto const& [key, present] : users->xlateIter()) {
      VlanXlate means = host.vlanTags().vlanXlateStatus->vlanXlate(key);
      if (means.subIntf != IntfId()) {
         subIntfs.insert(means.subIntf.name());
      }
      if (means.vlan.value() != 0) {
         ports.insert(key.phyIntf.name());
      }
   }
   return formatted("the tag of {}, and a VLAN that {} carr{}", listed(subIntfs), listed(ports),
                    ports.size() == 1 ? "ies" : "y");
}

} // namespace ShoalHost
