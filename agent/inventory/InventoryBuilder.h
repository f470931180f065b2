// Builds the inventory from a file, table by table.
#pragma once

#include "agent/errors/Errors.h"
#include "agent/inventory/SystemPorts.h"

#include <map>

namespace Agent {

class InventoryBuilder {
 public:
   InventoryBuilder(ConfigFile& file, Inventory& inventory)
       : file_(file), inventory_(inventory), systemPorts_(file, inventory) {}
   void build();

 private:
   // What DEVICE_METADATA says of one unit.
   struct Metadata {
      std::optional<uint32_t> switchId;
      std::string host; // "hostname|asic_name", or the hostname alone; empty: unknown
   };
   // Where the file says the place of a port; no table: it does not.
   struct PlaceSource {
      char const* table = nullptr;
      std::string key;
      char const* corePortField = nullptr;
   };
   // What the tables of one unit refer to among themselves.
   struct UnitNames {
      std::size_t index; // among the inventory's units
      InventoryUnit const* unit;
      ConfigJson const* tables;
      std::map<std::string, std::size_t> ports;        // bare name -> place in inventory ports
      std::map<std::string, std::size_t> portChannels; // the same
      std::map<std::string, std::string> memberOf;     // port -> port-channel
      std::set<std::string> vlanMembers;
   };

   void buildUnits();
   Metadata metadata(ConfigFile::Section const& section);
   void applyUnitFacts(ConfigJson const& tables);
   void buildUnit(UnitNames names);
   void buildPorts(UnitNames& names);
   void placePort(InventoryPort& port, UnitNames const& names, ConfigFile::Row const& row);
   void placePorts(std::size_t first);
   void reportPlaces(std::size_t first, bool numbered);
   void buildPortChannels(UnitNames& names);
   void checkMemberList(ConfigFile::Row const& lag, std::set<std::string> const& members);
   void numberDomains(std::size_t firstPort, std::size_t firstLag, ConfigJson const& tables);
   void buildVlans(UnitNames& names);
   bool isTagged(ConfigFile::Row const& member);
   void buildSubInterfaces(UnitNames& names);
   void buildRoutedPorts(UnitNames& names);
   void buildVlanInterfaces(UnitNames& names);
   void buildTunnels(UnitNames& names);
   void checkTunnelMaps(UnitNames const& names);
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
   std::vector<ConfigJson const*> unitTables_;                    // of the inventory's units
   std::vector<SystemPorts::Unit> unitReferences_;                // the same
   std::unordered_map<std::string, std::size_t> unitByReference_; // as SHOAL_UNIT names them
   SystemPorts systemPorts_;
   std::vector<PlaceSource> placeSources_; // of the inventory's ports
   std::vector<std::size_t> unnumbered_;   // ports without a system port of their own
   std::set<uint32_t> vlans_;
};

} // namespace Agent
