// A CONFIG_DB file: its JSON, its units, and access to rows that reports what is malformed.
#pragma once

#include "agent/errors/Errors.h"
#include "agent/inventory/ConfigJson.h"
#include "host/text/Text.h"
#include "host/world/Inventory.h"

#include <fmt/format.h>
#include <initializer_list>
#include <optional>

namespace Agent {

class ConfigFile {
 public:
   // Throws InventoryError.
   ConfigFile(std::string const& content, std::string file, Inventory& inventory);

   struct Section {
      std::string key; // of the unit; empty in single-unit files
      ConfigJson const* tables;
   };
   // One per unit, in natural order.
   std::vector<Section> const& units() const { return units_; }
   // Where chassis-wide tables are looked for.
   std::vector<ConfigJson const*> const& shared() const { return shared_; }

   struct Row {
      std::string key;
      ConfigJson const* fields; // an object
   };
   // The rows of a table in natural order; rows that are not objects are reported and read as
   // empty.
   std::vector<Row> rows(ConfigJson const& tables, std::string const& table);
   // The parts of a "a|b" key; reports keys of another shape and gives none.
   std::optional<std::pair<std::string, std::string>> pairKey(std::string const& table,
                                                              std::string const& key);
   // A number, also written as text. None when absent; reported when it is not a number or above
   // `max`.
   std::optional<uint64_t> number(std::string const& table, Row const& row, char const* field,
                                  uint64_t max);
   // A number, also written as text; those above 64 bits count as UINT64_MAX.
   static std::optional<uint64_t> wholeNumber(ConfigJson const& value);
   // Reports fields that are none of these: for tables that are ours alone.
   void checkFields(std::string const& table, Row const& row,
                    std::initializer_list<std::string_view> known);
   // A field that is text; empty for others and where it is absent.
   static std::string text(Row const& row, char const* field);
   // Any value, in a report: text as it is, the rest as JSON, cut where it is long.
   static std::string formatValue(ConfigJson const& value);

   // Adds a diagnostic. With arguments, `text` is a format.
   void report(std::string const& table, std::string const& key, std::string const& text);
   template<class First, class... Rest>
   void report(std::string const& table, std::string const& key,
               fmt::format_string<First, Rest...> text, First&& first, Rest&&... rest) {
      report(table, key,
             fmt::format(text, std::forward<First>(first), std::forward<Rest>(rest)...));
   }

 private:
   void findUnits();
   // Reports names that are misspelt names of tables. Other tables of the schema stay unmentioned.
   void checkTables(ConfigJson const& tables);

   std::string file_;
   Inventory& inventory_;
   ConfigJson root_;
   std::vector<Section> units_;
   std::vector<ConfigJson const*> shared_;
};

} // namespace Agent
