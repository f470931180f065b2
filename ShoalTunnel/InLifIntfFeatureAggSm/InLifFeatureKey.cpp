#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"

namespace Hardware::ShoalTunnel {

InLifFeatureKeyInterner inLifFeatureKeyInterner;

namespace {
// The three fields in the order in which they are printed.
struct PrintedKey {
   Plexus::IntfId intfId;
   Shoal::SystemTcamId tcamId;
   InLifFeatureType featureType;

   ORV_VALUE(PrintedKey, "Hardware::ShoalTunnel::InLifFeatureKey", intfId, tcamId, featureType)
};
} // namespace

uint32_t InLifFeatureKeyInterner::intern(InLifFeatureKeyFields const& fields) {
   if (uint32_t found = find(fields)) {
      return found;
   }
   uint32_t intf = fields.intfKey.index();
   if (intf >= places_.size()) {
      places_.resize(intf + 1);
   }
   Places& places = places_[intf];
   uint32_t number = ++places.used;
   if (unsigned block = blockOf(number); number == firstNumber[block]) {
      places.blocks[block] = static_cast<uint32_t>(fields_.size());
      fields_.resize(fields_.size() + firstNumber[block + 1] - number);
   }
   unsigned at = static_cast<unsigned>(fields.featureType) - 1;
   places.numbers[at / 4] |= static_cast<uint16_t>(number << at % 4 * 4);
   uint32_t index = places.find(fields.featureType);
   fields_[index] = fields;
   return index;
}

std::ostream& operator<<(std::ostream& out, InLifFeatureKeyFields const& fields) {
   return out << PrintedKey{fields.intfKey.intfId(), fields.intfKey.tcamId(), fields.featureType};
}

} // namespace Hardware::ShoalTunnel
