// What checks find: that a table is not what it should be.
#pragma once

#include <map>
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

   // Compares a table with what it should hold, both ways.
   template<class K, class V>
   void compare(char const* check, std::map<K, V> const& expected, std::map<K, V> const& table) {
      if (expected == table) {
         return;
      }
      for (auto const& [key, value] : table) {
         auto found = expected.find(key);
         if (found == expected.end()) {
            add(check, key, " is ", value, " and should not be there");
         } else if (!(found->second == value)) {
            add(check, key, " is ", value, " and should be ", found->second);
         }
      }
      for (auto const& [key, value] : expected) {
         if (!table.contains(key)) {
            add(check, key, " is missing and should be ", value);
         }
      }
   }

 private:
   std::vector<Finding> list_;
};

} // namespace Simulate
