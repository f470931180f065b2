#include "agent/inventory/ConfigFile.h"

#include "host/text/Printable.h"
#include "host/world/InterfaceName.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>

namespace Agent {

namespace {

struct KnownTable {
   std::string_view name;
   bool ofUnit; // at the top, it makes the file one of a single unit
};
constexpr KnownTable knownTables[] = {
    {"PORT", true},
    {"PORTCHANNEL", true},
    {"PORTCHANNEL_MEMBER", true},
    {"PORTCHANNEL_INTERFACE", true},
    {"VLAN", true},
    {"VLAN_MEMBER", true},
    {"VLAN_INTERFACE", true},
    {"VLAN_SUB_INTERFACE", true},
    {"INTERFACE", true},
    {"LOOPBACK_INTERFACE", true},
    {"VXLAN_TUNNEL", true},
    {"TUNNEL", true},
    {"DEVICE_METADATA", true},
    {"VXLAN_TUNNEL_MAP", false},
    {"ACL_TABLE", false},
    {"SYSTEM_PORT", false},
    {"SHOAL_UNIT", false},
    {"SHOAL_PORT", false},
};

bool isTable(std::string_view name) {
   return std::any_of(std::begin(knownTables), std::end(knownTables),
                      [&](KnownTable const& table) { return table.name == name; });
}

// Only letters and digits, in capitals: what remains when separators are mistaken.
std::string letters(std::string_view name) {
   std::string found;
   for (char c : name) {
      if (c >= 'a' && c <= 'z') {
         found += static_cast<char>(c - 'a' + 'A');
      } else if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) {
         found += c;
      }
   }
   return found;
}

// The table that a misspelt name may mean; empty: none.
std::string_view meantTable(std::string_view name) {
   std::string typed = letters(name);
   for (auto const& [table, ofUnit] : knownTables) {
      if (alike(typed, letters(table))) {
         return table;
      }
   }
   return {};
}

// Whether an object beside the tables of a single-unit file is a unit: it has a table with rows.
// Some tables of the schema have rows named like tables, whose fields are not objects.
bool holdsTables(std::string const& key, ConfigJson const& object) {
   if (!object.is_object() || isTable(key)) {
      return false;
   }
   return key == "localhost" ||
          std::any_of(object.items().begin(), object.items().end(), [&](auto const& member) {
             ConfigJson const& table = member.value();
             return isTable(member.key()) && table.is_object() &&
                    (key.find('|') != std::string::npos ||
                     std::any_of(table.begin(), table.end(),
                                 [](ConfigJson const& row) { return row.is_object(); }));
          });
}

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
         line += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
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
      report(place.empty() ? "-" : place, key, "comes twice; the later one is used");
   }
   findUnits();
}

void ConfigFile::findUnits() {
   shared_.push_back(&root_);
   bool single =
       std::any_of(std::begin(knownTables), std::end(knownTables), [&](KnownTable const& table) {
          return table.ofUnit && root_.contains(table.name);
       });
   if (single) {
      units_.push_back({"", &root_});
      checkTables(root_);
      for (auto const& [key, tables] : root_.items()) {
         if (holdsTables(key, tables)) {
            report("-", key, "is beside the tables of a file of one unit, left out");
         }
      }
      return;
   }
   for (auto const& [key, tables] : root_.items()) {
      if (key == "SHOAL_UNIT" || key == "SHOAL_PORT" || key == "SYSTEM_PORT") {
         continue;
      }
      if (!tables.is_object()) {
         report("-", key, "is not an object of tables, left out");
      } else if (key == "localhost") {
         shared_.push_back(&tables);
         checkTables(tables);
         for (char const* table :
              {"PORT", "PORTCHANNEL", "VLAN", "VLAN_SUB_INTERFACE", "TUNNEL", "VXLAN_TUNNEL"}) {
            if (tables.contains(table)) {
               report(table, "-",
                      "describes interfaces of no unit: it belongs to a unit, left out");
            }
         }
      } else if (!canBeTyped(key)) {
         report("-", key, "is not the name of a unit, left out");
      } else if (std::none_of(
                     std::begin(knownTables), std::end(knownTables),
                     [&in = tables](KnownTable const& table) { return in.contains(table.name); })) {
         report("-", key, "has no table of a unit, left out");
      } else {
         units_.push_back({key, &tables});
         checkTables(tables);
      }
   }
   std::sort(units_.begin(), units_.end(),
             [](Section const& a, Section const& b) { return naturalLess(a.key, b.key); });
}

void ConfigFile::checkTables(ConfigJson const& tables) {
   for (auto const& [table, rows] : tables.items()) {
      if (isTable(table)) {
         continue;
      }
      if (std::string_view meant = meantTable(table); !meant.empty()) {
         report(table, "-", "is not a known table, left out; did you mean {}?", meant);
      } else if (letters(table).starts_with("SHOAL")) {
         report(table, "-", "is not a known table, left out; there are SHOAL_UNIT and SHOAL_PORT");
      }
   }
}

std::vector<ConfigFile::Row> ConfigFile::rows(ConfigJson const& tables, std::string const& table) {
   static ConfigJson const empty = ConfigJson::object();
   std::vector<Row> found;
   auto at = tables.find(table);
   if (at == tables.end()) {
      return found;
   }
   if (!at->is_object()) {
      report(table, "-", "is not an object of rows, left out");
      return found;
   }
   std::vector<ConfigJson::object_t::value_type const*> members;
   members.reserve(at->size());
   for (auto const& member : at->get_ref<ConfigJson::object_t const&>()) {
      if (!member.second.is_object()) {
         report(table, member.first, "is not an object of fields, read as empty");
      }
      members.push_back(&member);
   }
   std::sort(members.begin(), members.end(),
             [](auto const* a, auto const* b) { return naturalLess(a->first, b->first); });
   found.reserve(members.size());
   for (auto const* member : members) {
      found.push_back({member->first, member->second.is_object() ? &member->second : &empty});
   }
   return found;
}

std::optional<std::pair<std::string, std::string>> ConfigFile::pairKey(std::string const& table,
                                                                       std::string const& key) {
   auto bar = key.find('|');
   if (bar == std::string::npos || bar == 0 || bar + 1 == key.size()) {
      report(table, key, "is not a key of two parts, left out");
      return std::nullopt;
   }
   return std::pair(key.substr(0, bar), key.substr(bar + 1));
}

std::optional<uint64_t> ConfigFile::number(std::string const& table, Row const& row,
                                           char const* field, uint64_t max) {
   auto at = row.fields->find(field);
   if (at == row.fields->end()) {
      return std::nullopt;
   }
   auto value = wholeNumber(*at);
   if (value > max) {
      report(table, row.key, "{} {} is above {}, left out", field, formatValue(*at), max);
      return std::nullopt;
   }
   if (!value) {
      report(table, row.key, "{} is not a number, left out", field);
   }
   return value;
}

std::optional<uint64_t> ConfigFile::wholeNumber(ConfigJson const& value) {
   if (value.is_number_unsigned()) {
      return value.get<uint64_t>();
   }
   // The JSON library keeps whole numbers of more than 64 bits as fractions.
   if (value.is_number_float() && value.get<double>() >= static_cast<double>(UINT64_MAX)) {
      return UINT64_MAX;
   }
   if (!value.is_string()) {
      return std::nullopt;
   }
   auto const& digits = value.get_ref<std::string const&>();
   uint64_t parsed = 0;
   auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), parsed);
   if (error == std::errc::invalid_argument || end != digits.data() + digits.size()) {
      return std::nullopt;
   }
   return error == std::errc::result_out_of_range ? UINT64_MAX : parsed;
}

void ConfigFile::checkFields(std::string const& table, Row const& row,
                             std::initializer_list<std::string_view> known) {
   for (auto const& [field, value] : row.fields->items()) {
      if (std::find(known.begin(), known.end(), field) == known.end()) {
         report(table, row.key, "{} is not a field of this table, left out", field);
      }
   }
}

std::string ConfigFile::formatValue(ConfigJson const& value) {
   constexpr std::size_t longest = 40;
   std::string text = value.is_string() ? value.get<std::string>() : value.dump();
   if (text.size() <= longest) {
      return text;
   }
   std::size_t end = longest;
   while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) {
      --end; // not within a character
   }
   return text.substr(0, end) + "...";
}

std::string ConfigFile::text(Row const& row, char const* field) {
   auto at = row.fields->find(field);
   return at != row.fields->end() && at->is_string() ? at->get<std::string>() : "";
}

void ConfigFile::report(std::string const& table, std::string const& key, std::string const& text) {
   inventory_.diagnostics.push_back({file_, table, onOneLine(key), onOneLine(text)});
}

} // namespace Agent
