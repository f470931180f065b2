#include "agent/inventory/InventoryBuilder.h"

#include "agent/inventory/InterfaceName.h"
#include "platform/Hardware/Shoal/Status.h"

#include <algorithm>
#include <functional>

namespace Agent {

namespace {

constexpr uint32_t mostUnit = 2047;
constexpr uint32_t mostSystemPort = 16383;
constexpr uint32_t mostDomain = 254;
constexpr uint32_t mostVlan = 4094;
constexpr std::size_t longestName = 255;

std::string withSlashes(std::string key) {
   std::replace(key.begin(), key.end(), '|', '/');
   return key;
}

} // namespace

void InventoryBuilder::build() {
   buildUnits();
   if (inventory_.units.empty()) {
      file_.report("-", "-", "the file has no unit");
   }
   for (ConfigJson const* tables : file_.shared()) {
      readSystemPorts(*tables);
      applyUnitFacts(*tables);
      // A single-unit file is its own shared part.
      bool several = file_.units().empty() || !file_.units().front().key.empty();
      if (several && tables->contains("SHOAL_PORT")) {
         file_.report("SHOAL_PORT", "-", "names ports of no unit: it belongs into one, left out");
      }
   }
   for (auto const& section : file_.units()) {
      if (!section.key.empty()) {
         readSystemPorts(*section.tables);
         applyUnitFacts(*section.tables);
      }
   }
   vlans_ = configuredVlans();
   for (std::size_t i = 0; i < inventory_.units.size(); ++i) {
      buildUnit({&inventory_.units[i], unitTables_[i], {}, {}, {}, {}});
   }
   numberSystemPorts();
   inventory_.indexNames();
}

void InventoryBuilder::buildUnits() {
   std::set<uint32_t> taken;
   std::vector<std::optional<uint32_t>> ids;
   for (auto const& section : file_.units()) {
      std::optional<uint32_t> id;
      for (auto const& row : file_.rows(*section.tables, "DEVICE_METADATA")) {
         auto given = row.key == "localhost"
                          ? file_.number("DEVICE_METADATA", row, "switch_id", mostUnit)
                          : std::nullopt;
         if (given && !taken.insert(static_cast<uint32_t>(*given)).second) {
            file_.report("DEVICE_METADATA", section.key,
                         "switch_id " + std::to_string(*given) +
                             " is another unit's; a free one is used");
         } else if (given) {
            id = static_cast<uint32_t>(*given);
         }
      }
      ids.push_back(id);
   }
   uint32_t next = 0;
   std::set<std::string> unitNames;
   for (std::size_t i = 0; i < ids.size(); ++i) {
      while (!ids[i] && !taken.insert(next).second) {
         ++next;
      }
      uint32_t id = ids[i].value_or(next);
      auto const& [key, tables] = file_.units()[i];
      std::string name = key.empty() ? "unit0" : withSlashes(key);
      if (id > mostUnit) {
         file_.report("-", key, "no unit id is left for it, left out");
      } else if (!unitNames.insert(name).second) {
         file_.report("-", key, name + " is the name of another unit, left out");
      } else {
         inventory_.units.push_back({id, key, name});
         unitTables_.push_back(tables);
      }
   }
}

void InventoryBuilder::applyUnitFacts(ConfigJson const& tables) {
   for (auto const& row : file_.rows(tables, "SHOAL_UNIT")) {
      auto unit = std::find_if(inventory_.units.begin(), inventory_.units.end(),
                               [&](InventoryUnit const& each) {
                                  return row.key == each.key || row.key == each.name ||
                                         row.key == std::to_string(each.fapId);
                               });
      if (unit == inventory_.units.end()) {
         file_.report("SHOAL_UNIT", row.key, "names no unit of this file");
         continue;
      }
      file_.checkFields("SHOAL_UNIT", row, {"fap_type", "ext_lkup_type"});
      if (auto type = file_.number("SHOAL_UNIT", row, "fap_type", 255)) {
         unit->fapType = static_cast<uint32_t>(*type);
      }
      if (auto type = file_.number("SHOAL_UNIT", row, "ext_lkup_type", 255)) {
         unit->extLkupType = static_cast<uint32_t>(*type);
      }
   }
}

void InventoryBuilder::readSystemPorts(ConfigJson const& tables) {
   std::map<std::tuple<uint32_t, uint32_t, uint32_t>, std::string> places;
   std::set<uint32_t> unknownUnits;
   for (auto const& row : file_.rows(tables, "SYSTEM_PORT")) {
      ++inventory_.systemPorts;
      auto bar = row.key.rfind('|');
      if (bar == std::string::npos) {
         file_.report("SYSTEM_PORT", row.key, "is no key of host, asic and port, left out");
         continue;
      }
      auto id = file_.number("SYSTEM_PORT", row, "system_port_id", mostSystemPort);
      auto unitId = file_.number("SYSTEM_PORT", row, "switch_id", mostUnit);
      auto core = file_.number("SYSTEM_PORT", row, "core_index", 255);
      auto corePort = file_.number("SYSTEM_PORT", row, "core_port_index", 255);
      if (!id || !unitId || !core || !corePort) {
         file_.report("SYSTEM_PORT", row.key, "lacks its id, unit or place, left out");
         continue;
      }
      SystemPort port{static_cast<uint32_t>(*id), static_cast<uint32_t>(*core),
                      static_cast<uint32_t>(*corePort)};
      auto [place, free] = places.emplace(
          std::tuple(static_cast<uint32_t>(*unitId), port.core, port.corePort), row.key);
      if (!free) {
         file_.report("SYSTEM_PORT", row.key, "is on the place of " + place->second);
      }
      if (!systemPortIds_.insert(port.id).second) {
         file_.report("SYSTEM_PORT", row.key,
                      "system_port_id " + std::to_string(port.id) + " is taken, left out");
         continue;
      }
      std::string host = row.key.substr(0, bar);
      auto unit = std::find_if(inventory_.units.begin(), inventory_.units.end(),
                               [&](InventoryUnit const& each) { return each.fapId == *unitId; });
      if (unit == inventory_.units.end()) {
         if (unknownUnits.insert(static_cast<uint32_t>(*unitId)).second) {
            file_.report("SYSTEM_PORT", row.key,
                         "unit " + std::to_string(*unitId) + " is known by its system ports only");
         }
      } else if (unit->key != host && !unit->key.empty()) {
         file_.report("SYSTEM_PORT", row.key, "switch_id is that of " + unit->key);
      }
      systemPorts_.emplace(row.key, port);
   }
}

std::set<uint32_t> InventoryBuilder::configuredVlans() {
   std::set<uint32_t> found;
   for (auto const& section : file_.units()) {
      auto table = section.tables->find("VLAN");
      if (table == section.tables->end() || !table->is_object()) {
         continue;
      }
      for (auto const& [key, fields] : table->items()) {
         if (auto id = parseVlanName(key); id && *id <= mostVlan) {
            found.insert(static_cast<uint32_t>(*id));
         }
      }
   }
   return found;
}

void InventoryBuilder::buildUnit(UnitNames names) {
   std::size_t firstPort = inventory_.ports.size();
   std::size_t firstLag = inventory_.portChannels.size();
   buildPorts(names);
   placePorts(firstPort);
   buildPortChannels(names);
   numberDomains(firstPort, firstLag, *names.tables);
   buildVlans(names);
   buildSubInterfaces(names);
   buildRoutedPorts(names);
   buildVlanInterfaces(names);
   buildTunnels(names);
   checkMembers(names);
   checkAcls(names);
}

bool InventoryBuilder::usable(std::string const& table, std::string const& name) {
   if (name.find("L3Flood") != std::string::npos) {
      file_.report(table, name, "L3Flood is reserved for flood entries, left out");
      return false;
   }
   if (!plainName(name) || name.size() > longestName || name.find('/') != std::string::npos) {
      file_.report(table, name, "is no name of an interface, left out");
      return false;
   }
   return true;
}

void InventoryBuilder::buildPorts(UnitNames& names) {
   uint32_t inOrder = 0;
   for (auto const& row : file_.rows(*names.tables, "PORT")) {
      if (!usable("PORT", row.key) || parseSubInterface(row.key)) {
         continue;
      }
      if (longName(row.key) != row.key) {
         file_.report("PORT", row.key, "is a short name, left out");
         continue;
      }
      if (!row.key.starts_with("Ethernet")) {
         file_.report("PORT", row.key, "is no name of a port, left out");
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
                         file_.number("PORT", row, "speed", UINT64_MAX).value_or(0),
                         ConfigFile::text(row, "role")};
      if (auto core = file_.number("PORT", row, "core_id", 255)) {
         port.core = static_cast<uint32_t>(*core);
      }
      if (auto corePort = file_.number("PORT", row, "core_port_id", 255)) {
         port.corePort = static_cast<uint32_t>(*corePort);
      }
      auto system = systemPorts_.find(names.unit->key + "|" + row.key);
      if (system != systemPorts_.end()) {
         port.core = system->second.core;
         port.corePort = system->second.corePort;
         port.systemPort = system->second.id;
      } else {
         unnumbered_.push_back(inventory_.ports.size());
      }
      if (uint32_t cores = Hardware::Shoal::kCoresPerFap; port.core >= cores) {
         file_.report("PORT", row.key,
                      "a unit has cores 0 to " + std::to_string(cores - 1) + ": core " +
                          std::to_string(port.core) + " is taken as " +
                          std::to_string(port.core % cores));
      }
      names.ports.emplace(row.key, inventory_.ports.size());
      inventory_.ports.push_back(std::move(port));
   }
}

// A unit port is made of core and core port: the core port where those are unique on the unit, else
// 64 per core. Where neither gives each port a place of its own, ports are numbered in their order.
void InventoryBuilder::placePorts(std::size_t first) {
   auto begin = inventory_.ports.begin() + static_cast<std::ptrdiff_t>(first);
   std::function<uint64_t(InventoryPort const&)> rules[] = {
       [](InventoryPort const& port) -> uint64_t { return port.corePort; },
       [](InventoryPort const& port) -> uint64_t {
          return port.corePort < 64 ? uint64_t{port.core} * 64 + port.corePort : 256;
       },
       [number = uint64_t{0}](InventoryPort const&) mutable { return number++; }};
   for (auto& rule : rules) {
      std::set<uint64_t> taken;
      bool fits = true;
      for (auto port = begin; port != inventory_.ports.end(); ++port) {
         uint64_t place = rule(*port);
         fits = place <= 255 && taken.insert(place).second && fits;
         port->unitPort = static_cast<uint32_t>(place);
      }
      if (fits) {
         return;
      }
   }
   while (inventory_.ports.size() > first + 256) {
      file_.report("PORT", inventory_.ports.back().name, "the unit has no room for it, left out");
      inventory_.ports.pop_back();
   }
}

void InventoryBuilder::buildPortChannels(UnitNames& names) {
   // Ports that found no room are gone.
   std::erase_if(names.ports,
                 [&](auto const& each) { return each.second >= inventory_.ports.size(); });
   for (auto const& row : file_.rows(*names.tables, "PORTCHANNEL")) {
      if (!usable("PORTCHANNEL", row.key)) {
         continue;
      }
      if (!row.key.starts_with("PortChannel") || parseSubInterface(row.key)) {
         file_.report("PORTCHANNEL", row.key, "is no name of a port-channel, left out");
         continue;
      }
      names.portChannels.emplace(row.key, inventory_.portChannels.size());
      inventory_.portChannels.push_back({uniqueName(names, row.key), 0, {}, names.unit->fapId});
   }
   for (auto const& row : file_.rows(*names.tables, "PORTCHANNEL_MEMBER")) {
      auto key = file_.pairKey("PORTCHANNEL_MEMBER", row.key);
      if (!key) {
         continue;
      }
      auto const& [lag, port] = *key;
      if (!names.portChannels.contains(lag)) {
         file_.report("PORTCHANNEL_MEMBER", row.key, "there is no port-channel " + lag);
      } else if (!names.ports.contains(port)) {
         file_.report("PORTCHANNEL_MEMBER", row.key, "there is no port " + port);
      } else if (auto [other, first] = names.memberOf.emplace(port, lag); !first) {
         file_.report("PORTCHANNEL_MEMBER", row.key, port + " is a member of " + other->second);
      } else {
         inventory_.portChannels[names.portChannels[lag]].members.push_back(
             uniqueName(names, port));
      }
   }
}

void InventoryBuilder::numberDomains(std::size_t firstPort, std::size_t firstLag,
                                     ConfigJson const& tables) {
   std::map<std::string, uint32_t> given;
   std::set<uint32_t> taken;
   for (auto const& row : file_.rows(tables, "SHOAL_PORT")) {
      file_.checkFields("SHOAL_PORT", row, {"vlan_domain"});
      if (auto domain = file_.number("SHOAL_PORT", row, "vlan_domain", mostDomain)) {
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
      while (next <= mostDomain && !taken.insert(next).second) {
         ++next;
      }
      each.vlanDomain = next <= mostDomain ? next : 0;
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

void InventoryBuilder::numberSystemPorts() {
   uint32_t next = 0;
   for (std::size_t at : unnumbered_) {
      if (at >= inventory_.ports.size()) {
         continue;
      }
      while (next <= mostSystemPort && !systemPortIds_.insert(next).second) {
         ++next;
      }
      InventoryPort& port = inventory_.ports[at];
      if (next > mostSystemPort) {
         file_.report("PORT", port.name, "no system port is left for it");
      }
      port.systemPort = std::min(next, mostSystemPort + 1);
   }
}

} // namespace Agent
