#include "agent/command/Tables.h"

#include <algorithm>

namespace Agent {

namespace {

Table units(AgentHost const& host) {
   Table table{"units", {"unit", "name", "type", "lookup", "available", "requests", "entries"}, {}};
   auto const& world = host.world();
   for (auto const& unit : world.inventory().units) {
      FapId fapId(unit.fapId);
      std::size_t requests =
          host.requestsOf(host.pipelineOf(TcamSharingRequest(IntfId(), fapId))).countOn(fapId);
      uint64_t entries = 0;
      host.chip().forEachTable([&](auto const& of) { entries += of.entriesOn(fapId); });
      table.add({unit.fapId, unit.name, formatUnitType(world.shoalStatus->fapType(fapId)),
                 formatLookup(world.shoalStatus->fapExtLkupType(fapId)),
                 world.shoalStatus->fapAvailable(fapId), requests, entries});
   }
   return table;
}

// The core whose TCAM serves a port; none where the port is on no unit.
Json coreOf(World const& world, IntfId port) {
   auto tcam = world.shoalStatus->sysTcamId(port);
   FapId unit = world.placeOf(port).fapId;
   for (uint32_t core = 0; !unit.isNull() && core < Hardware::Shoal::kCoresPerFap; ++core) {
      if (tcam == Hardware::Shoal::fapLocalCoreIdToSystemTcamId(world.shoalStatus, unit, core)) {
         return core;
      }
   }
   return {};
}

Table ports(AgentHost const& host) {
   Table table{"ports",
               {"port", "system port", "unit", "unit port", "core", "domain", "internal VLAN"},
               {}};
   auto const& world = host.world();
   for (auto const& [intf, systemPort] : world.shoalStatus->sysPhyPortIdIter()) {
      auto place = world.shoalStatus->portMap(systemPort);
      auto domain = world.vlanDomainStatus->portTunnelDataCollection().find(place);
      auto vlan = world.intfVlanIdTable->internalVlanId(intf).value();
      table.add(
          {intf.name(), systemPort.value(), place.isNull() ? Json() : Json(place.fapId.value()),
           place.isNull() ? Json() : Json(place.fapPortId), coreOf(world, intf),
           domain ? Json(domain->vlanDomain.value()) : Json(), vlan == 0 ? Json() : Json(vlan)});
   }
   return table;
}

Table portChannels(AgentHost const& host) {
   Table table{"port-channels", {"port-channel", "members", "unit", "domain"}, {}};
   auto const& world = host.world();
   for (auto const& [lag, status] : world.ethIntfStatusDir->ethLagIntfStatusIter()) {
      auto members =
          join(status->memberIter(), ",", [](auto const& member) { return member.key.name(); });
      bool any = false;
      for (FapId unit : world.unitsOf(lag)) {
         auto entry = host.helper()->getVlanDomainForLagFap(lag, unit);
         table.add({lag.name(), members, unit.value(),
                    entry ? Json(entry->vlanDomain().value()) : Json()});
         any = true;
      }
      if (!any) {
         table.add({lag.name(), members, Json(), Json()});
      }
   }
   return table;
}

Table subInterfaces(AgentHost const& host) {
   Table table{
       "sub-interfaces",
       {"sub-interface", "outer", "inner", "dynamic outer", "dynamic inner", "program-in-hw"},
       {}};
   auto const& world = host.world();
   for (auto const& [intf, config] : world.subIntfConfigDir->subIntfConfigIter()) {
      auto [configured, dynamic] = world.tags(intf);
      auto status = world.subIntfStatusDir->subIntfStatus(intf);
      auto tag = [](uint16_t value) { return value == 0 ? Json() : Json(value); };
      table.add({intf.name(), tag(configured.outer), tag(configured.inner), tag(dynamic.outer),
                 tag(dynamic.inner), status && status->programInHw()});
   }
   return table;
}

Table diagnostics(AgentHost const& host) {
   Table table{"diagnostics", {"file", "table", "key", "text"}, {}};
   for (auto const& each : host.world().inventory().diagnostics) {
      table.add({each.file, each.table, each.key, each.text});
   }
   return table;
}

Table corestate(AgentHost const& host) {
   Table table{"corestate", {"path", "type"}, {}};
   for (auto const& [path, entity] : host.world().corestate.mounted()) {
      table.add({path, entity->orvType().name()});
   }
   return table;
}

} // namespace

void addWorldTables(std::vector<NamedTable>& tables) {
   tables.insert(tables.end(), {{"units", "forwarding units", units},
                                {"ports", "ports, their places and VLANs", ports},
                                {"port-channels", "port-channels and their members", portChannels},
                                {"sub-interfaces", "sub-interfaces and their tags", subInterfaces},
                                {"diagnostics", "the diagnostics of the inventory", diagnostics},
                                {"corestate", "the mounted entities", corestate}});
}

} // namespace Agent
