#include "agent/inventory/InventoryBuilder.h"

#include "agent/inventory/Limits.h"
#include "host/world/InterfaceName.h"

#include <algorithm>

namespace Agent {

namespace {

std::string withSlashes(std::string key) {
   std::replace(key.begin(), key.end(), '|', '/');
   return key;
}

} // namespace

void InventoryBuilder::build() {
   for (ConfigJson const* tables : file_.shared()) {
      systemPorts_.read(*tables);
   }
   for (auto const& section : file_.units()) {
      if (!section.key.empty()) {
         systemPorts_.read(*section.tables);
      }
   }
   buildUnits();
   if (inventory_.units.empty()) {
      file_.report("-", "-", "the file has no unit");
   }
   systemPorts_.assign(unitReferences_);
   for (ConfigJson const* tables : file_.shared()) {
      applyUnitFacts(*tables);
      // A single-unit file is its own shared part.
      bool several = file_.units().empty() || !file_.units().front().key.empty();
      if (several && tables->contains("SHOAL_PORT")) {
         file_.report("SHOAL_PORT", "-", "names ports of no unit: it belongs to a unit, left out");
      }
   }
   for (auto const& section : file_.units()) {
      if (!section.key.empty()) {
         applyUnitFacts(*section.tables);
      }
   }
   vlans_ = configuredVlans();
   for (std::size_t i = 0; i < inventory_.units.size(); ++i) {
      buildUnit({i, &inventory_.units[i], unitTables_[i], {}, {}, {}, {}});
   }
   numberSystemPorts();
}

InventoryBuilder::Metadata InventoryBuilder::metadata(ConfigFile::Section const& section) {
   Metadata found;
   for (auto const& row : file_.rows(*section.tables, "DEVICE_METADATA")) {
      if (row.key != "localhost") {
         continue;
      }
      if (auto id = file_.number("DEVICE_METADATA", row, "switch_id", maxUnit)) {
         found.switchId = static_cast<uint32_t>(*id);
      }
      std::string asic = ConfigFile::text(row, "asic_name");
      found.host = ConfigFile::text(row, "hostname") + (asic.empty() ? "" : "|" + asic);
   }
   // A key of two parts says what the rows of SYSTEM_PORT say.
   if (section.key.find('|') != std::string::npos) {
      found.host = section.key;
   }
   return found;
}

void InventoryBuilder::buildUnits() {
   std::set<uint32_t> taken;
   std::vector<Metadata> facts;
   for (auto const& section : file_.units()) {
      Metadata unit = metadata(section);
      std::string source = "";
      if (!unit.switchId) {
         unit.switchId = systemPorts_.switchIdOf(unit.host);
         source = " of its system ports";
      }
      if (unit.switchId && !taken.insert(*unit.switchId).second) {
         file_.report("DEVICE_METADATA", section.key,
                      "switch_id {}{} is another unit's; a free one is used", *unit.switchId,
                      source);
         unit.switchId.reset();
      }
      facts.push_back(std::move(unit));
   }
   uint32_t next = 0;
   std::set<std::string> unitNames;
   for (std::size_t i = 0; i < facts.size(); ++i) {
      while (!facts[i].switchId && (systemPorts_.meansUnit(next) || !taken.insert(next).second)) {
         ++next;
      }
      uint32_t id = facts[i].switchId.value_or(next);
      auto const& [key, tables] = file_.units()[i];
      std::string name = key.empty() ? "unit0" : withSlashes(key);
      if (id > maxUnit) {
         file_.report("-", key, "no unit id is left for it, left out");
      } else if (!unitNames.insert(name).second) {
         file_.report("-", key, "{} is the name of another unit, left out", name);
      } else {
         for (std::string const& reference : {key, name, std::to_string(id), facts[i].host}) {
            unitByReference_.emplace(reference, inventory_.units.size());
         }
         inventory_.units.push_back({id, key, name});
         unitTables_.push_back(tables);
         SystemPorts::Unit reference{name, {}, id, facts[i].switchId.has_value(), key.empty()};
         for (std::string const& host : {key, facts[i].host}) {
            if (!host.empty()) {
               reference.hosts.push_back(host);
            }
         }
         unitReferences_.push_back(std::move(reference));
      }
   }
}

void InventoryBuilder::applyUnitFacts(ConfigJson const& tables) {
   for (auto const& row : file_.rows(tables, "SHOAL_UNIT")) {
      auto found = unitByReference_.find(row.key);
      if (found == unitByReference_.end()) {
         file_.report("SHOAL_UNIT", row.key, "names no unit of this file");
         continue;
      }
      InventoryUnit* unit = &inventory_.units[found->second];
      file_.checkFields("SHOAL_UNIT", row, {"fap_type", "ext_lkup_type"});
      if (auto type = file_.number("SHOAL_UNIT", row, "fap_type", 255)) {
         unit->fapType = static_cast<uint32_t>(*type);
      }
      if (auto type = file_.number("SHOAL_UNIT", row, "ext_lkup_type", 255)) {
         unit->extLkupType = static_cast<uint32_t>(*type);
      }
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
         if (auto id = parseVlanName(key); id && *id <= maxVlan) {
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
      file_.report(table, name, "is not the name of an interface, left out");
      return false;
   }
   return true;
}

void InventoryBuilder::numberSystemPorts() {
   uint32_t next = 0;
   for (std::size_t at : unnumbered_) {
      if (at >= inventory_.ports.size()) {
         continue;
      }
      while (next <= maxSystemPort && systemPorts_.taken(next)) {
         ++next;
      }
      InventoryPort& port = inventory_.ports[at];
      if (next > maxSystemPort) {
         file_.report("PORT", port.name, "no system port is left for it");
      }
      port.systemPort = std::min(next, maxSystemPort + 1);
      next = port.systemPort + 1;
   }
}

} // namespace Agent
