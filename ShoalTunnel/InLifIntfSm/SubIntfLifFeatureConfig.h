// The feature words of sub-interfaces, for the hardware layer.
#pragma once

#include "ShoalTunnel/InLifIntfSm/InLifFeatureAttributes.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT SubIntfLifFeatureConfig : public Orv::Entity {
   ORV_ENTITY(SubIntfLifFeatureConfig, "Hardware::ShoalTunnel::SubIntfLifFeatureConfig")
   // The key has the TCAM, because a sub-interface has one word per system TCAM.
   ORV_COLLECTION(lifFeatureAttr, InLifIntfKey, InLifFeatureAttributes, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
