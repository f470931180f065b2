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
      if (Plexus::SubIntfId::parentIntfId(means.subIntf) == key.phyIntf) {
         subIntfs.insert(means.subIntf.name());
      }
      if (means.vlan.value() != 0) {
         ports.insert(key.phyIntf.name());
      }
   }
   std::set<std::string> others; // which do not have the tag on these ports, but an entry with it
   for (auto const& [request, present] : users->requestIter()) {
      std::string const& name = request.intfId().name();
      if (Plexus::SubIntfId::isSubIntfId(request.intfId()) && !subIntfs.contains(name)) {
         others.insert(name);
      }
   }
   std::string tagOf = subIntfs.empty() ? "" : " of " + listed(subIntfs);
   tagOf += subIntfs.empty() || others.empty() ? "" : " and";
   tagOf += others.empty() ? "" : " of the entry for " + listed(others);
   return formatted("the tag{}, and a VLAN that {} carr{}", tagOf, listed(ports),
                    ports.size() == 1 ? "ies" : "y");
}

VlanTagKey tagOfSubIntf(Host const& host, IntfId subIntf) {
   IntfId port = Plexus::SubIntfId::parentIntfId(subIntf);
   auto const& tags = host.vlanTags();
   bool there = host.world().subIntfConfigDir->subIntfConfigHas(subIntf) &&
                !Plexus::PortChannelIntfId::isPortChannelIntfId(port);
   auto unit = there ? tags.intfToFapIdStatus->intfToFapCollection().find(port) : std::nullopt;
   return unit ? VlanTagKey{*unit, host.world().encapsulation(subIntf).outer,
                            tags.intfToVlanDomainStatus->vlanDomain(port)}
               : VlanTagKey();
}

} // namespace ShoalHost
