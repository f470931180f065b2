// Ports and port-channels of one unit: their places and their VLAN domains.
#include "agent/inventory/InventoryBuilder.h"
#include "agent/inventory/Limits.h"
#include "host/world/InterfaceName.h"
#include "platform/Hardware/Shoal/Status.h"

#include <algorithm>

namespace Agent {

void InventoryBuilder::buildPorts(UnitNames& names) {
   uint32_t inOrder = 0;
   for (auto const& row : file_.rows(*names.tables, "PORT")) {
      if (!usable("PORT", row.key)) {
         continue;
      }
      if (row.key.find('.') != std::string::npos) {
         file_.report("PORT", row.key, "is the name of a sub-interface, left out");
         continue;
      }
      if (longName(row.key) != row.key) {
         file_.report("PORT", row.key, "is a short name, left out");
         continue;
      }
      if (!row.key.starts_with("Ethernet")) {
         file_.report("PORT", row.key, "is not the name of a port, left out");
         continue;
      }
      InventoryPort port{uniqueName(names, row.key),
                         names.unit->fapId,
                         0,
                         inOrder++,
                         0,
                         0,
                         0,
                         ConfigFile::text(row, "alias"),
                         file_.number("PORT", row, "speed", UINT32_MAX).value_or(0),
                         ConfigFile::text(row, "role")};
      placePort(port, names, row);
      if (uint32_t cores = Hardware::Shoal::kCoresPerFap; port.core >= cores) {
         file_.report("PORT", row.key, "a unit has cores 0 to {}: core {} is taken as {}",
                      cores - 1, port.core, port.core % cores);
      }
      names.ports.emplace(row.key, inventory_.ports.size());
      inventory_.ports.push_back(std::move(port));
   }
   systemPorts_.checkPorts(names.index,
                           [&](std::string const& port) { return names.ports.contains(port); });
}

void InventoryBuilder::placePort(InventoryPort& port, UnitNames const& names,
                                 ConfigFile::Row const& row) {
   PlaceSource source;
   auto core = file_.number("PORT", row, "core_id", 255);
   auto corePort = file_.number("PORT", row, "core_port_id", 255);
   if (core) {
      port.core = static_cast<uint32_t>(*core);
   }
   if (corePort) {
      port.corePort = static_cast<uint32_t>(*corePort);
      source = {"PORT", row.key, "core_port_id"};
   }
   if (auto const* system = systemPorts_.find(names.index, row.key)) {
      if ((core && *core != system->core) || (corePort && *corePort != system->corePort)) {
         file_.report("PORT", row.key, "its system port is on core {}, core port {}, which is used",
                      system->core, system->corePort);
      }
      port.core = system->core;
      port.corePort = system->corePort;
      port.systemPort = system->id;
      source = {"SYSTEM_PORT", system->key, "core_port_index"};
   } else {
      unnumbered_.push_back(inventory_.ports.size());
   }
   placeSources_.push_back(std::move(source));
}

// A unit port is made of core and core port: the core port where those are unique on the unit, else
// 64 per core. Where neither gives each port a place of its own, ports are numbered in their order.
void InventoryBuilder::placePorts(std::size_t first) {
   auto byCorePort = [](InventoryPort const& port) { return port.corePort; };
   auto byCore = [](InventoryPort const& port) {
      return port.corePort < portsPerCore ? port.core * portsPerCore + port.corePort
                                          : maxUnitPort + 1;
   };
   auto fits = [&](auto rule) {
      std::set<uint32_t> taken;
      for (std::size_t i = first; i < inventory_.ports.size(); ++i) {
         InventoryPort& port = inventory_.ports[i];
         port.unitPort = rule(port);
         if (port.unitPort > maxUnitPort || !taken.insert(port.unitPort).second) {
            return false;
         }
      }
      return true;
   };
   bool placed = fits(byCorePort) || fits(byCore);
   if (!placed) {
      fits([number = uint32_t{0}](InventoryPort const&) mutable { return number++; });
   }
   reportPlaces(first, !placed);
   while (inventory_.ports.size() > first + maxUnitPort + 1) {
      file_.report("PORT", inventory_.ports.back().name, "the unit has no room for it, left out");
      inventory_.ports.pop_back();
      placeSources_.pop_back();
      if (!unnumbered_.empty() && unnumbered_.back() == inventory_.ports.size()) {
         unnumbered_.pop_back();
      }
   }
}

void InventoryBuilder::reportPlaces(std::size_t first, bool numbered) {
   std::map<std::pair<uint32_t, uint32_t>, std::size_t> places;
   bool told = false; // one report tells of a unit whose places repeat
   for (std::size_t i = first; i < inventory_.ports.size(); ++i) {
      InventoryPort const& port = inventory_.ports[i];
      PlaceSource const& source = placeSources_[i];
      if (source.table == nullptr) {
         continue;
      }
      auto [other, free] = places.emplace(std::pair(port.core, port.corePort), i);
      if (port.corePort >= portsPerCore) {
         file_.report(source.table, source.key, "{} {} is above {}: the unit port is {}, {}",
                      source.corePortField, port.corePort, portsPerCore - 1, port.unitPort,
                      numbered ? "its number in the order of names"
                               : "as core ports do not repeat on the unit");
      } else if (numbered && !free && !told) {
         told = true;
         file_.report(source.table, source.key,
                      "core and core port are those of {}: the unit ports are numbers in the "
                      "order of names",
                      placeSources_[other->second].key);
      }
   }
}

void InventoryBuilder::buildPortChannels(UnitNames& names) {
   // Ports that found no room are gone.
   std::erase_if(names.ports,
                 [&](auto const& each) { return each.second >= inventory_.ports.size(); });
   std::vector<ConfigFile::Row> lags;
   for (auto const& row : file_.rows(*names.tables, "PORTCHANNEL")) {
      if (!usable("PORTCHANNEL", row.key)) {
         continue;
      }
      if (!row.key.starts_with("PortChannel") || parseSubInterface(row.key)) {
         file_.report("PORTCHANNEL", row.key, "is not the name of a port-channel, left out");
         continue;
      }
      lags.push_back(row);
      names.portChannels.emplace(row.key, inventory_.portChannels.size());
      inventory_.portChannels.push_back({uniqueName(names, row.key), 0, {}, names.unit->fapId});
   }
   std::unordered_map<std::string, std::set<std::string>> members;
   for (auto const& row : file_.rows(*names.tables, "PORTCHANNEL_MEMBER")) {
      auto key = file_.pairKey("PORTCHANNEL_MEMBER", row.key);
      if (!key) {
         continue;
      }
      auto const& [lag, port] = *key;
      members[lag].insert(port);
      if (!names.portChannels.contains(lag)) {
         file_.report("PORTCHANNEL_MEMBER", row.key, "there is no port-channel {}", lag);
      } else if (!names.ports.contains(port)) {
         file_.report("PORTCHANNEL_MEMBER", row.key, "there is no port {}", port);
      } else if (auto [other, first] = names.memberOf.emplace(port, lag); !first) {
         file_.report("PORTCHANNEL_MEMBER", row.key, "{} is a member of {}", port, other->second);
      } else {
         inventory_.portChannels[names.portChannels[lag]].members.push_back(
             uniqueName(names, port));
      }
   }
   for (auto const& lag : lags) {
      checkMemberList(lag, members[lag.key]);
   }
}

// The list is older than the rows and stands in many files beside them.
void InventoryBuilder::checkMemberList(ConfigFile::Row const& lag,
                                       std::set<std::string> const& members) {
   auto field = lag.fields->find("members");
   if (field == lag.fields->end()) {
      return;
   }
   ConfigJson list = field->is_array() ? *field : ConfigJson::array({*field});
   std::set<std::string> named;
   for (auto const& item : list) {
      if (!item.is_string()) {
         file_.report("PORTCHANNEL", lag.key, "members is not a list of ports, left out");
         return;
      }
      // One text may hold several: "Ethernet0,Ethernet4".
      auto const& text = item.get_ref<std::string const&>();
      for (std::size_t begin = 0; (begin = text.find_first_not_of(", ", begin)) < text.size();) {
         std::size_t end = std::min(text.find_first_of(", ", begin), text.size());
         named.insert(text.substr(begin, end - begin));
         begin = end;
      }
   }
   for (std::string const& port : named) {
      if (!members.contains(port)) {
         file_.report("PORTCHANNEL", lag.key,
                      "members has {}, which has no row in PORTCHANNEL_MEMBER: it is not a member",
                      port);
      }
   }
   for (std::string const& port : members) {
      if (!named.contains(port)) {
         file_.report("PORTCHANNEL", lag.key,
                      "members lacks {}, which has a row in PORTCHANNEL_MEMBER: the row is used",
                      port);
      }
   }
}

void InventoryBuilder::numberDomains(std::size_t firstPort, std::size_t firstLag,
                                     ConfigJson const& tables) {
   std::map<std::string, uint32_t> given;
   std::set<uint32_t> taken;
   for (auto const& row : file_.rows(tables, "SHOAL_PORT")) {
      file_.checkFields("SHOAL_PORT", row, {"vlan_domain"});
      if (auto domain = file_.number("SHOAL_PORT", row, "vlan_domain", maxDomain)) {
         given.emplace(row.key, static_cast<uint32_t>(*domain));
         taken.insert(static_cast<uint32_t>(*domain));
      }
   }
   uint32_t next = 1;
   auto number = [&](auto& each) {
      auto own = given.find(std::string(bareName(each.name)));
      if (own != given.end()) {
         each.vlanDomain = own->second;
         given.erase(own);
         return;
      }
      while (next <= maxDomain && !taken.insert(next).second) {
         ++next;
      }
      each.vlanDomain = next <= maxDomain ? next : 0;
      if (each.vlanDomain == 0) {
         file_.report("-", each.name, "the unit has no VLAN domain left for it");
      }
   };
   std::for_each(inventory_.ports.begin() + static_cast<std::ptrdiff_t>(firstPort),
                 inventory_.ports.end(), number);
   std::for_each(inventory_.portChannels.begin() + static_cast<std::ptrdiff_t>(firstLag),
                 inventory_.portChannels.end(), number);
   for (auto const& [name, domain] : given) {
      file_.report("SHOAL_PORT", name, "there is no such port");
   }
}

} // namespace Agent
