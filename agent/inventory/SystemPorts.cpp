#include "agent/inventory/SystemPorts.h"

#include "agent/inventory/Limits.h"
#include "host/world/InterfaceName.h"

#include <algorithm>
#include <map>

namespace Agent {

void SystemPorts::read(ConfigJson const& tables) {
   std::map<std::tuple<uint32_t, uint32_t, uint32_t>, std::string> places;
   for (auto const& row : file_.rows(tables, "SYSTEM_PORT")) {
      ++inventory_.systemPorts;
      auto bar = row.key.rfind('|');
      if (bar == std::string::npos || bar == 0 || bar + 1 == row.key.size()) {
         file_.report("SYSTEM_PORT", row.key, "is not a key of host, asic and port, left out");
         continue;
      }
      auto id = file_.number("SYSTEM_PORT", row, "system_port_id", maxSystemPort);
      auto unitId = file_.number("SYSTEM_PORT", row, "switch_id", maxUnit);
      auto core = file_.number("SYSTEM_PORT", row, "core_index", 255);
      auto corePort = file_.number("SYSTEM_PORT", row, "core_port_index", 255);
      if (!id || !unitId || !core || !corePort) {
         file_.report("SYSTEM_PORT", row.key, "lacks its id, unit or place, left out");
         continue;
      }
      Row port{row.key, static_cast<uint32_t>(*id), static_cast<uint32_t>(*unitId),
               static_cast<uint32_t>(*core), static_cast<uint32_t>(*corePort)};
      auto same = byKey_.find(row.key);
      if (same != byKey_.end() && rows_[same->second] == port) {
         // Every unit of a chassis may repeat the table.
         --inventory_.systemPorts;
         continue;
      }
      auto [place, free] =
          places.emplace(std::tuple(port.switchId, port.core, port.corePort), row.key);
      if (!free) {
         file_.report("SYSTEM_PORT", row.key, "is on the place of {}", place->second);
      }
      if (same != byKey_.end()) {
         file_.report("SYSTEM_PORT", row.key, "contradicts an earlier row of this key, left out");
      } else if (!ids_.insert(port.id).second) {
         file_.report("SYSTEM_PORT", row.key, "system_port_id {} is taken, left out", port.id);
      } else {
         switchIds_.emplace(port.host(), port.switchId);
         rowUnits_.insert(port.switchId);
         byKey_.emplace(row.key, rows_.size());
         rows_.push_back(std::move(port));
      }
   }
}

std::optional<uint32_t> SystemPorts::switchIdOf(std::string const& host) const {
   auto found = switchIds_.find(host);
   return found == switchIds_.end() ? std::nullopt : std::optional(found->second);
}

void SystemPorts::reportUnknown(Row const& row) {
   if (unknownUnits_.insert(row.switchId).second) {
      file_.report("SYSTEM_PORT", row.key, "unit {} is known by its system ports only",
                   row.switchId);
   }
}

void SystemPorts::assign(std::vector<Unit> const& units) {
   std::unordered_map<std::string, std::size_t> byHost;
   std::unordered_map<uint32_t, std::size_t> bySwitchId;
   for (std::size_t i = 0; i < units.size(); ++i) {
      for (std::string const& host : units[i].hosts) {
         byHost.emplace(host, i);
      }
      if (units[i].switchIdGiven) {
         bySwitchId.emplace(units[i].switchId, i);
      }
   }
   ofUnit_.resize(units.size());
   std::vector<std::size_t> strangers; // rows of a unit's switch_id under another name
   for (std::size_t i = 0; i < rows_.size(); ++i) {
      Row const& row = rows_[i];
      auto named = byHost.find(row.host());
      auto numbered = bySwitchId.find(row.switchId);
      if (numbered == bySwitchId.end()) {
         reportUnknown(row);
      } else if (named == byHost.end()) {
         strangers.push_back(i);
      } else if (named->second != numbered->second) {
         file_.report("SYSTEM_PORT", row.key, "switch_id is that of {}",
                      units[numbered->second].name);
      }
      if (named != byHost.end()) {
         ofUnit_[named->second].emplace(row.port(), i);
      }
   }
   std::set<std::string> told;
   for (std::size_t i : strangers) {
      Row const& row = rows_[i];
      std::size_t unit = bySwitchId.at(row.switchId);
      if (!ofUnit_[unit].emplace(row.port(), i).second) {
         file_.report("SYSTEM_PORT", row.key, "{} has another row for this port, left out",
                      units[unit].name);
      } else if (told.insert(row.host()).second) {
         file_.report("SYSTEM_PORT", row.key,
                      "{} names no unit of this file; by its switch_id it is taken as {}",
                      row.host(), units[unit].name);
      }
   }
   for (std::size_t i = 0; i < units.size(); ++i) {
      if (units[i].single && ofUnit_[i].empty() && !rows_.empty()) {
         file_.report(
             "SYSTEM_PORT", "-", "{}: ports are placed and numbered without them",
             units[i].hosts.empty()
                 ? "DEVICE_METADATA has no hostname or switch_id to find the unit's rows by"
                 : "no row is for " + units[i].hosts.front());
      }
   }
}

SystemPorts::Row const* SystemPorts::find(std::size_t unit, std::string const& port) const {
   auto found = ofUnit_[unit].find(port);
   return found == ofUnit_[unit].end() ? nullptr : &rows_[found->second];
}

void SystemPorts::checkPorts(std::size_t unit,
                             std::function<bool(std::string const&)> const& exists) const {
   std::vector<std::size_t> missing;
   for (auto const& [port, row] : ofUnit_[unit]) {
      bool cpu = !port.starts_with("Ethernet") && rows_[row].corePort == 0;
      if (!cpu && !exists(port)) {
         missing.push_back(row);
      }
   }
   std::sort(missing.begin(), missing.end());
   for (std::size_t row : missing) {
      file_.report("SYSTEM_PORT", rows_[row].key, "there is no port {}, left out",
                   rows_[row].port());
   }
}

} // namespace Agent
