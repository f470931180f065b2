// Builds the inventory from a file, table by table.
#pragma once

#include "agent/inventory/ConfigFile.h"

#include <map>
#include <set>
#include <unordered_map>

namespace Agent {

class InventoryBuilder {
 public:
   InventoryBuilder(ConfigFile& file, Inventory& inventory) : file_(file), inventory_(inventory) {}
   void build();

 private:
   struct SystemPort {
      uint32_t id;
      uint32_t core;
      uint32_t corePort;
   };
   // What the tables of one unit refer to among themselves.
   struct UnitNames {
      InventoryUnit const* unit;
      ConfigJson const* tables;
      std::map<std::string, std::size_t> ports;        // bare name -> place in inventory ports
      std::map<std::string, std::size_t> portChannels; // the same
      std::map<std::string, std::string> memberOf;     // port -> port-channel
      std::set<std::string> vlanMembers;
   };

   void buildUnits();
   void applyUnitFacts(ConfigJson const& tables);
   void readSystemPorts(ConfigJson const& tables);
   void buildUnit(UnitNames names);
   void buildPorts(UnitNames& names);
   void placePorts(std::size_t first);
   void buildPortChannels(UnitNames& names);
   void numberDomains(std::size_t firstPort, std::size_t firstLag, ConfigJson const& tables);
   void buildVlans(UnitNames& names);
   void buildSubInterfaces(UnitNames& names);
   void buildRoutedPorts(UnitNames& names);
   void buildVlanInterfaces(UnitNames& names);
   void buildTunnels(UnitNames& names);
   void checkMembers(UnitNames& names);
   void checkAcls(UnitNames& names);
   void numberSystemPorts();
   std::set<uint32_t> configuredVlans();

   // False, with a report, for names that are reserved or malformed.
   bool usable(std::string const& table, std::string const& name);
   bool known(UnitNames const& names, std::string const& name) const {
      return names.ports.contains(name) || names.portChannels.contains(name);
   }
   static std::string uniqueName(UnitNames const& names, std::string const& bare) {
      return names.unit->key.empty() ? bare : names.unit->name + "/" + bare;
   }

   ConfigFile& file_;
   Inventory& inventory_;
   std::vector<ConfigJson const*> unitTables_;               // of the inventory's units
   std::unordered_map<std::string, SystemPort> systemPorts_; // by "unit key|port"
   std::set<uint32_t> systemPortIds_;
   std::vector<std::size_t> unnumbered_; // ports without a system port of their own
   std::set<uint32_t> vlans_;
};

} // namespace Agent
