// What checks find: that a table is not what it should be.
#pragma once

#include <map>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace Simulate {

struct Finding {
   std::string check; // its name, a few words
   std::string text;  // what is wrong, and where
};

// As Orv prints it; a list: how long it is, and its members.
template<class Value>
void print(std::ostream& out, Value const& value) {
   if constexpr (requires { out << value; }) {
      out << value;
   } else if constexpr (requires { value.begin(); }) {
      out << "{";
      for (auto const& each : value) {
         out << " ";
         print(out, each);
      }
      out << " }";
   } else {
      print(out, value.first);
      out << (value.second ? " written" : " removed");
   }
}

class Findings {
 public:
   template<class... Parts>
   void add(std::string check, Parts const&... parts) {
      std::ostringstream text;
      (print(text, parts), ...);
      list_.push_back({std::move(check), text.str()});
   }
   std::vector<Finding> const& list() const { return list_; }
   bool empty() const { return list_.empty(); }

   // Compares a row with what it should be; none: absent.
   template<class K, class V>
   void compareRow(char const* check, K const& key, std::optional<V> const& expected,
                   std::optional<V> const& row) {
      if (expected == row) {
         return;
      }
      if (!expected) {
         add(check, key, " is ", *row, " and should not be there");
      } else if (!row) {
         add(check, key, " is missing and should be ", *expected);
      } else {
         add(check, key, " is ", *row, " and should be ", *expected);
      }
   }

   // Compares a table with what it should hold, both ways.
   template<class K, class V>
   void compare(char const* check, std::map<K, V> const& expected, std::map<K, V> const& table) {
      auto rowOf = [](std::map<K, V> const& rows, K const& key) {
         auto found = rows.find(key);
         return found == rows.end() ? std::nullopt : std::optional<V>(found->second);
      };
      for (auto const& [key, value] : table) {
         compareRow(check, key, rowOf(expected, key), std::optional<V>(value));
      }
      for (auto const& [key, value] : expected) {
         if (!table.contains(key)) {
            compareRow(check, key, std::optional<V>(value), std::optional<V>());
         }
      }
   }

 private:
   std::vector<Finding> list_;
};

} // namespace Simulate
