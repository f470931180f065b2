// VLANs, sub-interfaces, routed ports and tunnels of one unit, and the checks across its tables.
#include "agent/inventory/InventoryBuilder.h"
#include "agent/inventory/Limits.h"
#include "host/world/InterfaceName.h"

#include <algorithm>
#include <unordered_set>

namespace Agent {

namespace {

// The tag in a field: none, with a report, where it is not a tag; `missing` where there is no
// field.
uint32_t tagOf(ConfigFile& file, ConfigFile::Row const& row, char const* field, uint32_t missing,
               char const* consequence) {
   auto at = row.fields->find(field);
   if (at == row.fields->end()) {
      return missing;
   }
   auto tag = ConfigFile::wholeNumber(*at);
   if (tag && *tag >= 1 && *tag <= maxVlan) {
      return static_cast<uint32_t>(*tag);
   }
   file.report("VLAN_SUB_INTERFACE", row.key, "{} {} is not a tag from 1 to {}{}", field,
               ConfigFile::formatValue(*at), maxVlan, consequence);
   return 0;
}

} // namespace

void InventoryBuilder::buildVlans(UnitNames& names) {
   std::map<std::string, std::size_t> byName;
   for (auto const& row : file_.rows(*names.tables, "VLAN")) {
      auto fromName = parseVlanName(row.key);
      auto id = file_.number("VLAN", row, "vlanid", UINT64_MAX);
      if (!fromName || *fromName > maxVlan) {
         file_.report("VLAN", row.key, "is not a name from Vlan1 to Vlan4094, left out");
         continue;
      }
      if (id && *id != *fromName) {
         file_.report("VLAN", row.key, "vlanid {} is not that of the name, which is used", *id);
      }
      byName.emplace(row.key, inventory_.vlans.size());
      inventory_.vlans.push_back(
          {uniqueName(names, row.key), static_cast<uint32_t>(*fromName), names.unit->fapId, {}});
   }
   std::map<std::string, std::string> untagged; // port -> its VLAN
   for (auto const& row : file_.rows(*names.tables, "VLAN_MEMBER")) {
      auto key = file_.pairKey("VLAN_MEMBER", row.key);
      if (!key) {
         continue;
      }
      auto vlan = byName.find(key->first);
      std::string port = longName(key->second);
      if (vlan == byName.end()) {
         file_.report("VLAN_MEMBER", row.key, "there is no {}", key->first);
      } else if (!known(names, port)) {
         file_.report("VLAN_MEMBER", row.key, "there is no port or port-channel {}", key->second);
      } else {
         names.vlanMembers.insert(port);
         bool tagged = isTagged(row);
         if (!tagged) {
            auto [first, free] = untagged.emplace(port, key->first);
            if (!free) {
               file_.report("VLAN_MEMBER", row.key, "{} is untagged in {}, left out", port,
                            first->second);
               continue;
            }
         }
         inventory_.vlans[vlan->second].members.push_back({uniqueName(names, port), tagged});
      }
   }
}

bool InventoryBuilder::isTagged(ConfigFile::Row const& member) {
   auto mode = member.fields->find("tagging_mode");
   if (mode != member.fields->end() && *mode != "tagged" && *mode != "untagged" &&
       *mode != "priority_tagged") {
      file_.report("VLAN_MEMBER", member.key,
                   "tagging_mode {} is not tagged, untagged or priority_tagged: taken as untagged",
                   ConfigFile::formatValue(*mode));
   }
   return mode != member.fields->end() && *mode == "tagged";
}

void InventoryBuilder::buildSubInterfaces(UnitNames& names) {
   auto const rows = file_.rows(*names.tables, "VLAN_SUB_INTERFACE");
   std::unordered_set<std::string> seen(rows.size());
   for (auto const& row : rows) {
      // "key|address" rows are addresses of a sub-interface that has, or should have, a row.
      std::string name = row.key.substr(0, row.key.find('|'));
      bool address = name.size() != row.key.size();
      if (address && names.tables->at("VLAN_SUB_INTERFACE").contains(name)) {
         continue;
      }
      auto parsed = parseSubInterface(name);
      if (!usable("VLAN_SUB_INTERFACE", name)) {
         continue;
      }
      if (!parsed) {
         file_.report("VLAN_SUB_INTERFACE", row.key,
                      "is not a name from PARENT.1 to PARENT.99999999, left out");
         continue;
      }
      std::string unique = uniqueName(names, longName(name));
      if (!seen.insert(unique).second) {
         if (!address) {
            file_.report("VLAN_SUB_INTERFACE", row.key, "is present in another form of its name");
         }
         continue;
      }
      if (address) {
         file_.report("VLAN_SUB_INTERFACE", row.key, "has an address but no row of its own");
      }
      if (!known(names, parsed->parent)) {
         file_.report("VLAN_SUB_INTERFACE", row.key,
                      "there is no port or port-channel {}, left out", parsed->parent);
         continue;
      }
      if (auto lag = names.memberOf.find(parsed->parent); lag != names.memberOf.end()) {
         file_.report("VLAN_SUB_INTERFACE", row.key, "{} is a member of {}", parsed->parent,
                      lag->second);
      }
      bool nameIsTag = parsed->id <= maxVlan;
      if (!row.fields->contains("vlan") && !nameIsTag) {
         file_.report("VLAN_SUB_INTERFACE", row.key, "has no vlan, and its id is not a tag");
      }
      uint32_t outer = tagOf(file_, row, "vlan", nameIsTag ? parsed->id : 0, ": it has no tags");
      uint32_t inner = tagOf(file_, row, "inner_vlan", 0, ": it has no inner tag");
      std::string parent = unique.substr(0, unique.rfind('.'));
      inventory_.subInterfaces.push_back(
          {std::move(unique), std::move(parent), outer, outer == 0 ? 0 : inner});
   }
}

void InventoryBuilder::buildRoutedPorts(UnitNames& names) {
   std::set<std::string> routed;
   uint32_t next = maxVlan;
   for (char const* table : {"INTERFACE", "PORTCHANNEL_INTERFACE"}) {
      for (auto const& row : file_.rows(*names.tables, table)) {
         std::string name = longName(row.key.substr(0, row.key.find('|')));
         if (!routed.insert(name).second) {
            continue;
         }
         if (!known(names, name)) {
            file_.report(table, row.key, "there is no port or port-channel {}", name);
            continue;
         }
         while (next > 0 && vlans_.contains(next)) {
            --next;
         }
         if (next == 0) {
            file_.report(table, row.key, "no internal VLAN is left for it");
            continue;
         }
         inventory_.routedPorts.push_back({uniqueName(names, name), next--, names.unit->fapId});
      }
   }
}

void InventoryBuilder::buildVlanInterfaces(UnitNames& names) {
   std::set<std::string> seen;
   for (auto const& row : file_.rows(*names.tables, "VLAN_INTERFACE")) {
      std::string name = row.key.substr(0, row.key.find('|'));
      auto id = parseVlanName(name);
      if (!seen.insert(name).second) {
         continue;
      }
      if (!id || *id < 1 || *id > maxVlan) {
         file_.report("VLAN_INTERFACE", row.key, "is not a name from Vlan1 to Vlan4094, left out");
         continue;
      }
      if (!vlans_.contains(static_cast<uint32_t>(*id))) {
         file_.report("VLAN_INTERFACE", row.key, "there is no {}", name);
      }
      inventory_.vlanInterfaces.push_back(
          {uniqueName(names, name), static_cast<uint32_t>(*id), names.unit->fapId});
   }
}

void InventoryBuilder::buildTunnels(UnitNames& names) {
   std::set<std::string> seen;
   for (char const* table : {"VXLAN_TUNNEL", "TUNNEL"}) {
      for (auto const& row : file_.rows(*names.tables, table)) {
         if (!usable(table, row.key)) {
            continue;
         }
         if (!seen.insert(row.key).second) {
            file_.report(table, row.key, "is the name of another tunnel, left out");
            continue;
         }
         inventory_.tunnels.push_back({uniqueName(names, "Tunnel-" + row.key), names.unit->fapId});
      }
   }
   checkTunnelMaps(names);
}

void InventoryBuilder::checkTunnelMaps(UnitNames const& names) {
   auto tunnels = names.tables->find("VXLAN_TUNNEL");
   auto vlans = names.tables->find("VLAN");
   for (auto const& row : file_.rows(*names.tables, "VXLAN_TUNNEL_MAP")) {
      auto key = file_.pairKey("VXLAN_TUNNEL_MAP", row.key);
      if (!key) {
         continue;
      }
      if (tunnels == names.tables->end() || !tunnels->contains(key->first)) {
         file_.report("VXLAN_TUNNEL_MAP", row.key, "there is no tunnel {}, left out", key->first);
      }
      auto vlan = row.fields->find("vlan");
      if (vlan == row.fields->end()) {
         file_.report("VXLAN_TUNNEL_MAP", row.key, "has no vlan, left out");
      } else if (!vlan->is_string() || vlans == names.tables->end() ||
                 !vlans->contains(vlan->get<std::string>())) {
         file_.report("VXLAN_TUNNEL_MAP", row.key, "there is no {}, left out",
                      ConfigFile::formatValue(*vlan));
      }
   }
}

void InventoryBuilder::checkMembers(UnitNames& names) {
   for (auto const& [port, lag] : names.memberOf) {
      if (names.vlanMembers.contains(port)) {
         file_.report("VLAN_MEMBER", port, "is a member of {} and of a VLAN", lag);
      }
   }
}

void InventoryBuilder::checkAcls(UnitNames& names) {
   for (auto const& row : file_.rows(*names.tables, "ACL_TABLE")) {
      auto ports = row.fields->find("ports");
      if (ports == row.fields->end()) {
         continue;
      }
      if (!ports->is_array()) {
         file_.report("ACL_TABLE", row.key, "ports is not a list");
         continue;
      }
      for (auto const& port : *ports) {
         if (!port.is_string()) {
            file_.report("ACL_TABLE", row.key, "a port is not a name");
         } else if (std::string name = longName(port.get<std::string>());
                    !known(names, name) && !parseVlanName(name)) {
            file_.report("ACL_TABLE", row.key, "there is no port or port-channel {}", name);
         }
      }
   }
}

} // namespace Agent
