// Feature key -> response, for those who request the features.
#pragma once

#include "platform/Orv/Entity.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"

namespace Hardware::ShoalTunnel {

enum class InLifFeatureResponseStatus : uint32_t { none = 0, success = 1, failure = 2 };

struct InLifFeatureResponse {
   InLifFeatureKey key;
   InLifFeatureValue value = 0; // the programmed value
   InLifFeatureResponseStatus status = InLifFeatureResponseStatus::none;

   ORV_VALUE(InLifFeatureResponse, "Hardware::ShoalTunnel::InLifFeatureResponse", key, value,
             status)
};

class TCAM_SHARING_EXPORT InLifFeatureStatus : public Orv::Entity {
   ORV_ENTITY(InLifFeatureStatus, "Hardware::ShoalTunnel::InLifFeatureStatus")
   ORV_COLLECTION(response, InLifFeatureKey, InLifFeatureResponse, Orv::KeyedByIndex)
   void responseIs(InLifFeatureResponse const& response) { responseIs(response.key, response); }
};

} // namespace Hardware::ShoalTunnel
