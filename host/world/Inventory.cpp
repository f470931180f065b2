#include "host/world/Inventory.h"

#include "host/world/InterfaceName.h"

#include <algorithm>

namespace ShoalHost {

void Inventory::indexNames() const {
   auto add = [&](auto const& list) {
      for (auto const& each : list) {
         byBareName_[std::string(bareName(each.name))].push_back(each.name);
      }
   };
   add(ports);
   add(portChannels);
   add(subInterfaces);
   add(vlanInterfaces);
   add(tunnels);
}

Inventory::Lookup Inventory::find(std::string_view typed) const {
   if (byBareName_.empty()) {
      indexNames();
   }
   std::string name = longName(typed);
   std::string bare(bareName(name));
   auto found = byBareName_.find(bare);
   if (found != byBareName_.end()) {
      auto const& names = found->second;
      bool unique = std::find(names.begin(), names.end(), name) != names.end();
      if (unique || (bare == name && names.size() == 1)) {
         return {unique ? name : names.front(), {}};
      }
      return {"", names};
   }
   Lookup close;
   for (auto const& [other, names] : byBareName_) {
      if (alike(other, bare)) {
         close.candidates.insert(close.candidates.end(), names.begin(), names.end());
      }
   }
   std::sort(close.candidates.begin(), close.candidates.end(), naturalLess);
   return close;
}

} // namespace ShoalHost
