#include "agent/command/Output.h"

#include "host/names/Names.h"
#include "host/text/Text.h"

#include <algorithm>
#include <fmt/format.h>

namespace Agent {

namespace {

std::string cellText(Json const& cell) {
   if (cell.is_null()) {
      return "-";
   }
   if (cell.is_string()) {
      return cell.get<std::string>();
   }
   if (cell.is_boolean()) {
      return cell.get<bool>() ? "yes" : "no";
   }
   return cell.is_number_float() ? formatSeconds(cell.get<double>()) : cell.dump();
}

void printText(std::ostream& out, Table const& table) {
   out << table.title << ": " << counted(table.rows.size(), "row") << "\n";
   if (table.rows.empty()) {
      return;
   }
   std::vector<std::vector<std::string>> lines{table.columns};
   for (auto const& row : table.rows) {
      auto& line = lines.emplace_back();
      for (auto const& cell : row) {
         line.push_back(cellText(cell));
      }
   }
   std::vector<std::size_t> widths(table.columns.size(), 0);
   for (auto const& line : lines) {
      for (std::size_t i = 0; i < line.size(); ++i) {
         widths[i] = std::max(widths[i], line[i].size());
      }
   }
   for (auto const& line : lines) {
      std::string text = " ";
      for (std::size_t i = 0; i < line.size(); ++i) {
         text += fmt::format(" {:{}} ", line[i], widths[i]);
      }
      text.erase(text.find_last_not_of(' ') + 1);
      out << text << "\n";
   }
}

} // namespace

void print(std::ostream& out, Table const& table, Format format) {
   if (format == Format::text) {
      printText(out, table);
      return;
   }
   Json rows = Json::array();
   for (auto const& row : table.rows) {
      Json object = Json::object();
      for (std::size_t i = 0; i < row.size(); ++i) {
         object[table.columns[i]] = row[i];
      }
      rows.push_back(std::move(object));
   }
   out << Json{{"table", table.title}, {"rows", std::move(rows)}}.dump(
              -1, ' ', false, Json::error_handler_t::replace)
       << "\n";
}

} // namespace Agent
