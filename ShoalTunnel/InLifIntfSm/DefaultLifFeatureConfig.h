// The feature words of default in-LIFs: what untagged frames of a port meet.
#pragma once

#include "ShoalTunnel/InLifIntfSm/InLifFeatureAttributes.h"

namespace Hardware::ShoalTunnel {

// One instance of the ports' side, one of the VLANs' side, one merged for the hardware layer.
class TCAM_SHARING_EXPORT DefaultLifFeatureConfig : public Orv::Entity {
   ORV_ENTITY(DefaultLifFeatureConfig, "Hardware::ShoalTunnel::DefaultLifFeatureConfig")
   // Physical port -> its word.
   ORV_COLLECTION(lifFeatureAttr, Plexus::IntfId, InLifFeatureAttributes, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
