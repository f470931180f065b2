#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"

namespace Hardware::ShoalTunnel {

Orv::Interner<InLifFeatureKeyFields> inLifFeatureKeyInterner;

namespace {
// The three fields as people read them.
struct PrintedKey {
   Plexus::IntfId intfId;
   Shoal::SystemTcamId tcamId;
   InLifFeatureType featureType;

   ORV_VALUE(PrintedKey, "Hardware::ShoalTunnel::InLifFeatureKey", intfId, tcamId, featureType)
};
} // namespace

std::ostream& operator<<(std::ostream& out, InLifFeatureKeyFields const& fields) {
   return out << PrintedKey{fields.intfKey.intfId(), fields.intfKey.tcamId(), fields.featureType};
}

} // namespace Hardware::ShoalTunnel
