// All features of one in-LIF interface, from all directories, and the tables of these aggregates.
#pragma once

#include "platform/Orv/Entity.h"
#include "platform/Orv/MemberCollection.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"

namespace Hardware::ShoalTunnel {

// Consumers watch `version`, of all aggregates of a table or of one (Orv/MemberCollection.h).
// Writers increase it after every change of the features.
class TCAM_SHARING_EXPORT InLifIntfFeatureAggr : public Orv::Entity {
   ORV_ENTITY(InLifIntfFeatureAggr, "Hardware::ShoalTunnel::InLifIntfFeatureAggr")

   explicit InLifIntfFeatureAggr(InLifIntfKey key) : key_(key) {}
   InLifIntfKey key() const { return key_; }
   ORV_COLLECTION_AS(featureAgg, InLifFeatureType, InLifFeatureValue,
                     InLifFeatureMap<InLifFeatureValue>)
   ORV_MEMBER_ATTRIBUTE(version, InLifIntfKey, uint64_t, 0)
   void versionInc(uint64_t n) { versionIs(version() + n); }

 private:
   InLifIntfKey key_;
};

inline Orv::Ptr<InLifIntfFeatureAggr> inLifIntfFeatureAggrFactory(InLifIntfKey key) {
   return Orv::make<InLifIntfFeatureAggr>(key);
}

// The requested features. One instance has the requests of all directories. Another one, the
// expanded configuration, has them per physical port: requests of port-channels are copied to their
// members.
class TCAM_SHARING_EXPORT InLifIntfConfig : public Orv::Entity {
   ORV_ENTITY(InLifIntfConfig, "Hardware::ShoalTunnel::InLifIntfConfig")
   ORV_OWNED_COLLECTION(request, InLifIntfKey, InLifIntfFeatureAggr, Orv::MemberCollection)
};

// The handled features: a member has the features and the version of the request that was handled
// last. Written by the machines of InLifIntfSm, features first, version last.
class TCAM_SHARING_EXPORT InLifIntfStatus : public Orv::Entity {
   ORV_ENTITY(InLifIntfStatus, "Hardware::ShoalTunnel::InLifIntfStatus")
   ORV_OWNED_COLLECTION(response, InLifIntfKey, InLifIntfFeatureAggr, Orv::MemberCollection)
};

} // namespace Hardware::ShoalTunnel
