// The tables of VLANs and VLAN tags.
#include "agent/command/Tables.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

Table untagged(AgentHost const& host) {
   Table table{"untagged-vlans", {"interface", "VLAN"}, {}};
   for (auto const& [intf, vlan] : host.world().untaggedVlanDir->untaggedVlanIter()) {
      table.add({intf.name(), vlan.value()});
   }
   return table;
}

Table tagged(AgentHost const& host) {
   Table table{"tagged-vlans", {"interface", "VLAN"}, {}};
   for (auto const& [member, present] : host.world().taggedVlanDir->taggedVlanIter()) {
      table.add({member.intfId.name(), member.vlanId.value()});
   }
   return table;
}

Table published(AgentHost const& host) {
   Table table{"published", {"interface", "unit", "domain"}, {}};
   auto const& domains = *host.vlanTags().intfToVlanDomainStatus;
   auto const& faps = *host.vlanTags().intfToFapIdStatus;
   auto add = [&](IntfId intf) {
      table.add({intf.name(), faps.intfToFapHas(intf) ? Json(faps.intfToFap(intf).value()) : Json(),
                 domains.vlanDomainHas(intf) ? Json(domains.vlanDomain(intf).value()) : Json()});
   };
   for (auto const& [intf, fap] : faps.intfToFapIter()) {
      add(intf);
   }
   for (auto const& [intf, domain] : domains.vlanDomainIter()) {
      if (!faps.intfToFapHas(intf)) {
         add(intf);
      }
   }
   return table;
}

std::string portNames(VlanPhyIntfs const& ports) {
   return join(ports.phyIntfIter(), ",", [](auto const& port) { return port.key.name(); });
}

Table vlanPorts(AgentHost const& host) {
   Table table{"vlan-ports", {"tag", "of", "ports"}, {}};
   auto const& tags = host.vlanTags();
   for (auto const& [tag, ports] : tags.vlanPhyIntfConfig->vlanTagIter()) {
      table.add({tag, "VLAN", portNames(*ports)});
   }
   for (auto const& [tag, ports] : tags.subIntfTagPhyIntfConfig->vlanTagIter()) {
      table.add({tag, "sub-interfaces", portNames(*ports)});
   }
   return table;
}

Table vlanXlate(AgentHost const& host) {
   Table table{
       "vlan-xlate", {"port", "tag", "sub-interface", "VLAN", "internal of", "collision"}, {}};
   auto name = [](IntfId intf) { return intf == IntfId() ? Json() : Json(intf.name()); };
   for (auto const& [key, means] : host.vlanTags().vlanXlateStatus->vlanXlateIter()) {
      table.add({key.phyIntf.name(), key.vlanTag, name(means.subIntf),
                 means.vlan.value() == 0 ? Json() : Json(means.vlan.value()),
                 name(means.routedPort), means.collision});
   }
   return table;
}

Table vlanTags(AgentHost const& host) {
   Table table{"vlan-tags", {"unit", "vlan", "domain", "requests", "ports", "collision"}, {}};
   for (auto const& [key, users] : host.vlanTags().vlanTagMap->vlanTagIter()) {
      table.add({key.fapId.value(), key.vlanTag, key.vlanDomain.value(),
                 join(users->requestIter(), ",",
                      [](auto const& request) { return formatRequest(request.key); }),
                 join(users->xlateIter(), ",",
                      [](auto const& xlate) { return xlate.key.phyIntf.name(); }),
                 users->collide()});
   }
   return table;
}

} // namespace

void addVlanTables(std::vector<NamedTable>& tables) {
   tables.insert(
       tables.end(),
       {{"published", "each interface's unit and VLAN domain, as published", published},
        {"untagged-vlans", "the VLAN of untagged frames", untagged},
        {"tagged-vlans", "the VLANs that are carried with their tags", tagged},
        {"vlan-ports", "the ports that carry each VLAN, and each tag of sub-interfaces", vlanPorts},
        {"vlan-xlate", "what each tag means on a port, and whether meanings collide", vlanXlate},
        {"vlan-tags", "the VLAN tags in use per unit and VLAN domain, and who uses them",
         vlanTags}});
}

} // namespace Agent
