#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfKey.h"

namespace Hardware::ShoalTunnel {

Orv::Interner<InLifIntfKeyFields> inLifIntfKeyInterner;

} // namespace Hardware::ShoalTunnel
