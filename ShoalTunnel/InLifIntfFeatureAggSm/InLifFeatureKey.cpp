#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"

#include <deque>

namespace Hardware::ShoalTunnel {

Orv::Interner<InLifFeatureKeyFields> inLifFeatureKeyInterner;

namespace {
// The three fields in the order in which they are printed.
struct PrintedKey {
   Plexus::IntfId intfId;
   Shoal::SystemTcamId tcamId;
   InLifFeatureType featureType;

   ORV_VALUE(PrintedKey, "Hardware::ShoalTunnel::InLifFeatureKey", intfId, tcamId, featureType)
};

uint16_t bitOf(InLifFeatureType type) {
   return static_cast<uint16_t>(1U << static_cast<unsigned>(type));
}

// Index of an InLifIntfKey -> bits of the types for which a key was made. Lets existing() answer
// without a hash look-up.
std::deque<uint16_t>& typesMade() {
   static std::deque<uint16_t> types;
   return types;
}
} // namespace

InLifFeatureKey::InLifFeatureKey(InLifIntfKey intfKey, InLifFeatureType featureType)
    : Interned(InLifFeatureKeyFields{intfKey, checkedInLifFeatureType(featureType)}) {
   auto& made = typesMade();
   if (intfKey.index() >= made.size()) {
      made.resize(intfKey.index() + 1);
   }
   made[intfKey.index()] |= bitOf(featureType);
}

InLifFeatureKey InLifFeatureKey::existing(InLifIntfKey intfKey, InLifFeatureType featureType) {
   auto const& made = typesMade();
   bool known = intfKey.index() < made.size() &&
                (made[intfKey.index()] & bitOf(checkedInLifFeatureType(featureType))) != 0;
   return known ? InLifFeatureKey(intfKey, featureType) : InLifFeatureKey();
}

std::ostream& operator<<(std::ostream& out, InLifFeatureKeyFields const& fields) {
   return out << PrintedKey{fields.intfKey.intfId(), fields.intfKey.tcamId(), fields.featureType};
}

} // namespace Hardware::ShoalTunnel
