// A switch as its configuration files describe it: plain data, checked and completed.
//
// Every interface has one name that is unique in the chassis: in files of several units the unit
// stands in front ("lc03/ASIC0/Ethernet0"). Ids are in range, places are unique; whatever the
// file has that is not so is in `diagnostics`, and left out or replaced here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ShoalHost {

struct InventoryUnit {
   uint32_t fapId;       // 0 to 2047
   std::string key = {}; // as in the file: "lc03|ASIC0"; empty in single-unit files
   std::string name;     // "lc03/ASIC0"; "unit0" in single-unit files
   uint32_t fapType = 1; // arad
   uint32_t extLkupType = 0;
};

struct InventoryPort {
   std::string name;
   uint32_t fapId;
   uint32_t core = 0;
   uint32_t corePort = 0;
   uint32_t unitPort = 0;   // 0 to 255, unique on the unit
   uint32_t systemPort;     // 0 to 16383, unique; 16384: none left
   uint32_t vlanDomain = 0; // 1 to 254, unique on the unit; 0: none left
   std::string alias = {};
   uint64_t speed = 0; // Mb/s, 0 when unknown
   std::string role = {};
};

struct InventoryPortChannel {
   std::string name;
   uint32_t vlanDomain; // as for ports
   std::vector<std::string> members;
   uint32_t fapId; // the unit whose table has it
};

struct InventorySubInterface {
   std::string name;
   std::string parent;
   uint32_t outer;
   uint32_t inner = 0; // 0: one tag
};

struct InventoryVlan {
   struct Member {
      std::string interface;
      bool tagged;
   };
   std::string name;
   uint32_t vlanId;
   uint32_t fapId;
   std::vector<Member> members;
};

struct InventoryVlanInterface {
   std::string name;
   uint32_t vlanId;
   uint32_t fapId;
};

struct InventoryTunnel {
   std::string name;
   uint32_t fapId;
};

struct InventoryRoutedPort {
   std::string name; // a port or port-channel
   uint32_t internalVlan;
   uint32_t fapId;
};

struct InventoryDiagnostic {
   std::string file;
   std::string table;
   std::string key;
   std::string text;
};

struct Inventory {
   std::vector<InventoryUnit> units;
   std::vector<InventoryPort> ports;
   std::vector<InventoryPortChannel> portChannels;
   std::vector<InventorySubInterface> subInterfaces;
   std::vector<InventoryVlan> vlans;
   std::vector<InventoryVlanInterface> vlanInterfaces;
   std::vector<InventoryTunnel> tunnels;
   std::vector<InventoryRoutedPort> routedPorts;
   std::size_t systemPorts = 0; // rows, those of unknown units included
   std::vector<InventoryDiagnostic> diagnostics;

   struct Lookup {
      std::string name; // empty: unknown or ambiguous
      std::vector<std::string> candidates;
   };
   // An interface by its unique name, by its bare name where only one unit has it, or by a short
   // form of either ("Po1.1100", "lc10/ASIC0/Eth0").
   // The first call indexes the names, so everything has to be there.
   Lookup find(std::string_view typed) const;

 private:
   void indexNames() const;

   // Bare name -> unique names, in the order of the lists above.
   mutable std::unordered_map<std::string, std::vector<std::string>> byBareName_;
};

} // namespace ShoalHost
