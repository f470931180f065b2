#include "agent/inventory/ConfigFile.h"

#include "agent/inventory/InterfaceName.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace Agent {

namespace {

// Tables that only single-unit files have at the top.
constexpr std::string_view unitTables[] = {
    "PORT",           "PORTCHANNEL",        "PORTCHANNEL_MEMBER", "PORTCHANNEL_INTERFACE",
    "VLAN",           "VLAN_MEMBER",        "VLAN_INTERFACE",     "VLAN_SUB_INTERFACE",
    "INTERFACE",      "LOOPBACK_INTERFACE", "VXLAN_TUNNEL",       "TUNNEL",
    "DEVICE_METADATA"};

// Others that make an object one of tables.
constexpr std::string_view moreTables[] = {"ACL_TABLE", "SHOAL_UNIT", "SHOAL_PORT", "SYSTEM_PORT"};

// Commands name units, and numbers and these words mean something else there.
bool canBeTyped(std::string const& unit) {
   bool number = std::all_of(unit.begin(), unit.end(), [](char c) { return c >= '0' && c <= '9'; });
   return !number && unit != "own" && unit != "none" && plainName(unit);
}

// Keys are the file's: what would break the line is written as an escape.
std::string onOneLine(std::string const& text) {
   std::string line;
   for (char c : text) {
      if (isControl(c)) {
         char escape[8];
         std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(c));
         line += escape;
      } else {
         line += c;
      }
   }
   return line;
}

} // namespace

ConfigFile::ConfigFile(std::string const& content, std::string file, Inventory& inventory)
    : file_(std::move(file)), inventory_(inventory) {
   ParsedConfig parsed = parseConfig(content, file_);
   root_ = std::move(parsed.root);
   for (auto const& [place, key] : parsed.duplicates) {
      report(place.empty() ? "-" : place, key, "comes twice; the later one stands");
   }
   findUnits();
}

void ConfigFile::findUnits() {
   shared_.push_back(&root_);
   bool single = std::any_of(std::begin(unitTables), std::end(unitTables),
                             [&](std::string_view table) { return root_.contains(table); });
   if (single) {
      units_.push_back({"", &root_});
      return;
   }
   for (auto const& [key, tables] : root_.items()) {
      if (key == "SHOAL_UNIT" || key == "SHOAL_PORT" || key == "SYSTEM_PORT") {
         continue;
      }
      if (!tables.is_object()) {
         report("-", key, "is no object of tables, left out");
      } else if (key == "localhost") {
         shared_.push_back(&tables);
      } else if (!canBeTyped(key)) {
         report("-", key, "is no name of a unit, left out");
      } else if (auto known = [&in = tables](std::string_view table) { return in.contains(table); };
                 std::none_of(std::begin(unitTables), std::end(unitTables), known) &&
                 std::none_of(std::begin(moreTables), std::end(moreTables), known)) {
         report("-", key, "has no table of a unit, left out");
      } else {
         units_.push_back({key, &tables});
      }
   }
   std::sort(units_.begin(), units_.end(),
             [](Section const& a, Section const& b) { return naturalLess(a.key, b.key); });
}

std::vector<ConfigFile::Row> ConfigFile::rows(ConfigJson const& tables, std::string const& table) {
   static ConfigJson const empty = ConfigJson::object();
   std::vector<Row> found;
   auto at = tables.find(table);
   if (at == tables.end()) {
      return found;
   }
   if (!at->is_object()) {
      report(table, "-", "is no object of rows, left out");
      return found;
   }
   for (auto const& [key, fields] : at->items()) {
      if (!fields.is_object()) {
         report(table, key, "is no object of fields, read as empty");
      }
      found.push_back({key, fields.is_object() ? &fields : &empty});
   }
   std::sort(found.begin(), found.end(),
             [](Row const& a, Row const& b) { return naturalLess(a.key, b.key); });
   return found;
}

std::optional<std::pair<std::string, std::string>> ConfigFile::pairKey(std::string const& table,
                                                                       std::string const& key) {
   auto bar = key.find('|');
   if (bar == std::string::npos || bar == 0 || bar + 1 == key.size()) {
      report(table, key, "is no key of two parts, left out");
      return std::nullopt;
   }
   return std::pair(key.substr(0, bar), key.substr(bar + 1));
}

std::optional<uint64_t> ConfigFile::number(std::string const& table, Row const& row,
                                           char const* field, uint64_t most) {
   auto at = row.fields->find(field);
   if (at == row.fields->end()) {
      return std::nullopt;
   }
   std::optional<uint64_t> value;
   if (at->is_number_unsigned()) {
      value = at->get<uint64_t>();
   } else if (at->is_string()) {
      auto const& digits = at->get_ref<std::string const&>();
      uint64_t parsed = 0;
      auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), parsed);
      if (error == std::errc() && end == digits.data() + digits.size()) {
         value = parsed;
      }
   }
   if (!value) {
      report(table, row.key, std::string(field) + " is no number, left out");
   } else if (*value > most) {
      report(table, row.key,
             std::string(field) + " " + std::to_string(*value) + " is above " +
                 std::to_string(most) + ", left out");
      value.reset();
   }
   return value;
}

void ConfigFile::checkFields(std::string const& table, Row const& row,
                             std::initializer_list<std::string_view> known) {
   for (auto const& [field, value] : row.fields->items()) {
      if (std::find(known.begin(), known.end(), field) == known.end()) {
         report(table, row.key, field + " is no field of this table, left out");
      }
   }
}

std::string ConfigFile::text(Row const& row, char const* field) {
   auto at = row.fields->find(field);
   return at != row.fields->end() && at->is_string() ? at->get<std::string>() : "";
}

void ConfigFile::report(std::string const& table, std::string const& key, std::string const& text) {
   inventory_.diagnostics.push_back({file_, table, onOneLine(key), onOneLine(text)});
}

} // namespace Agent
