// What commands print: tables and reports, as text for people or as JSON for programs.
#pragma once

#include "agent/errors/Errors.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace Agent {

using Json = nlohmann::ordered_json;

enum class Format { text, json };

// Rows of named columns. A cell is text, a number or a flag; null prints as "-".
struct Table {
   std::string title;
   std::vector<std::string> columns;
   std::vector<std::vector<Json>> rows;

   void add(std::vector<Json> row) { rows.push_back(std::move(row)); }
};

// Text: the title with the number of rows, then aligned columns. JSON: one line,
// {"table": title, "rows": [{column: cell}]}.
void print(std::ostream& out, Table const& table, Format format);

} // namespace Agent
