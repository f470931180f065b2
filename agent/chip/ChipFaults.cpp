#include "agent/chip/ChipFaults.h"

#include <algorithm>

namespace Agent {

ChipFaults::Setting& ChipFaults::setting(Fault fault, FaultScope scope) {
   auto found = std::find_if(settings_.begin(), settings_.end(), [&](Setting const& setting) {
      return setting.fault == fault && setting.scope == scope;
   });
   return found != settings_.end() ? *found : settings_.emplace_back(Setting{fault, scope});
}

void ChipFaults::next(Fault fault, uint64_t count, FaultScope scope) {
   setting(fault, scope).next += count;
}

void ChipFaults::often(Fault fault, double probability, FaultScope scope) {
   setting(fault, scope).probability = probability;
}

bool ChipFaults::suffers(Fault fault, ChipTableKind table, FapId unit) {
   for (Setting& setting : settings_) {
      if (setting.fault != fault || (setting.scope.table && *setting.scope.table != table) ||
          (setting.scope.unit && *setting.scope.unit != unit)) {
         continue;
      }
      bool counted = setting.next > 0;
      if (counted) {
         --setting.next;
      }
      bool drawn = setting.probability > 0.0 &&
                   static_cast<double>(random_() >> 11) * 0x1.0p-53 < setting.probability;
      if (counted || drawn) {
         ++suffered_[static_cast<std::size_t>(fault)];
         return true;
      }
   }
   return false;
}

} // namespace Agent
