// The feature words of sub-interfaces, for the hardware layer.
#pragma once

#include "ShoalTunnel/InLifIntfSm/InLifFeatureAttributes.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT SubIntfLifFeatureConfig : public Orv::Entity {
   ORV_ENTITY(SubIntfLifFeatureConfig, "Hardware::ShoalTunnel::SubIntfLifFeatureConfig")
   // By the whole key: a sub-interface has a word per system TCAM.
   ORV_COLLECTION(lifFeatureAttr, InLifIntfKey, InLifFeatureAttributes, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
