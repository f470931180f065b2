// The feature words of default in-LIFs, which handle the untagged frames of a port.
#pragma once

#include "ShoalTunnel/InLifIntfSm/InLifFeatureAttributes.h"

namespace Hardware::ShoalTunnel {

// There is one instance for ports, one for VLANs, and one merged for the hardware layer.
class TCAM_SHARING_EXPORT DefaultLifFeatureConfig : public Orv::Entity {
   ORV_ENTITY(DefaultLifFeatureConfig, "Hardware::ShoalTunnel::DefaultLifFeatureConfig")
   // Physical port -> word.
   ORV_COLLECTION(lifFeatureAttr, Plexus::IntfId, InLifFeatureAttributes, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
