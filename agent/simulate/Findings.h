// What checks find: that a table is not what it should be.
#pragma once

#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace Agent {

struct Finding {
   std::string check; // its name, a few words
   std::string text;  // what is wrong, and where
};

class Findings {
 public:
   template<class... Parts>
   void add(std::string check, Parts const&... parts) {
      std::ostringstream text;
      ((text << parts), ...);
      list_.push_back({std::move(check), text.str()});
   }
   std::vector<Finding> const& list() const { return list_; }
   bool empty() const { return list_.empty(); }

   // Compares a collection of the library with what it should hold.
   template<class K, class V, class Collection>
   void compare(char const* check, std::map<K, V> const& expected, Collection const& collection) {
      for (auto const& [key, value] : collection.walk()) {
         auto found = expected.find(key);
         if (found == expected.end()) {
            add(check, key, " is ", value, " and should not be there");
         } else if (!(found->second == value)) {
            add(check, key, " is ", value, " and should be ", found->second);
         }
      }
      if (collection.size() == expected.size()) {
         return;
      }
      for (auto const& [key, value] : expected) {
         if (!collection.has(key)) {
            add(check, key, " is missing and should be ", value);
         }
      }
   }

 private:
   std::vector<Finding> list_;
};

} // namespace Agent
