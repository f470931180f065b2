// The SYSTEM_PORT rows of a file: where the ports of a chassis are, by "host|asic|port".
//
// A row belongs to the unit that "host|asic" names, or else to the unit with its switch_id. Reports
// what is malformed, contradictory or without a unit or port.
#pragma once

#include "agent/errors/Errors.h"
#include "agent/inventory/ConfigFile.h"

#include <functional>
#include <set>
#include <unordered_map>

namespace Agent {

class SystemPorts {
 public:
   struct Row {
      std::string key;
      uint32_t id;
      uint32_t switchId;
      uint32_t core;
      uint32_t corePort;

      std::string host() const { return key.substr(0, key.rfind('|')); }
      std::string port() const { return key.substr(key.rfind('|') + 1); }
      friend bool operator==(Row const&, Row const&) = default;
   };
   // A unit of the inventory, as rows refer to it.
   struct Unit {
      std::string name;               // in reports
      std::vector<std::string> hosts; // each "host|asic" it goes by; none: unknown
      uint32_t switchId;
      bool switchIdGiven; // else a free number, which no row means
      bool single;        // of a file of one unit, so that rows are expected
   };

   SystemPorts(ConfigFile& file, Inventory& inventory) : file_(file), inventory_(inventory) {}

   // Adds a table's rows; all of them before assign(), once.
   void read(ConfigJson const& tables);
   // The switch_id of the rows of this "host|asic".
   std::optional<uint32_t> switchIdOf(std::string const& host) const;
   // Whether a row has this switch_id.
   bool meansUnit(uint32_t switchId) const { return rowUnits_.contains(switchId); }
   // Gives each row to one of the units, which are named by their place in the list from here on.
   void assign(std::vector<Unit> const& units);
   // None when the port has no row.
   Row const* find(std::size_t unit, std::string const& port) const;
   // Reports the rows of a unit that have no port. A CPU port, on core port 0, has none.
   void checkPorts(std::size_t unit, std::function<bool(std::string const&)> const& exists) const;
   bool taken(uint32_t id) const { return ids_.contains(id); }

 private:
   // Reports a row of a unit that has none in the file.
   void reportUnknown(Row const& row);

   ConfigFile& file_;
   Inventory& inventory_;
   std::vector<Row> rows_;
   std::unordered_map<std::string, std::size_t> byKey_;
   std::unordered_map<std::string, uint32_t> switchIds_; // by "host|asic"
   std::set<uint32_t> ids_;
   std::set<uint32_t> rowUnits_;
   std::set<uint32_t> unknownUnits_;
   std::vector<std::unordered_map<std::string, std::size_t>> ofUnit_; // port -> place in rows_
};

} // namespace Agent
