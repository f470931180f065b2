// All features of one in-LIF interface, of whichever requesters, and the tables of them.
#pragma once

#include "platform/Orv/Entity.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"

namespace Hardware::ShoalTunnel {

// Consumers watch `version`: every change of the features is followed by a new one.
class TCAM_SHARING_EXPORT InLifIntfFeatureAggr : public Orv::Entity {
   ORV_ENTITY(InLifIntfFeatureAggr, "Hardware::ShoalTunnel::InLifIntfFeatureAggr")

   explicit InLifIntfFeatureAggr(InLifIntfKey key) : key_(key) {}
   InLifIntfKey key() const { return key_; }
   ORV_COLLECTION_AS(featureAgg, InLifFeatureType, InLifFeatureValue,
                     InLifFeatureMap<InLifFeatureValue>)
   ORV_ATTRIBUTE(version, uint64_t, 0)
   void versionInc(uint64_t n) { versionIs(version() + n); }

 private:
   InLifIntfKey key_;
};

inline Orv::Ptr<InLifIntfFeatureAggr> inLifIntfFeatureAggrFactory(InLifIntfKey key) {
   return Orv::make<InLifIntfFeatureAggr>(key);
}

// What is requested. One instance gathers the requests of all features; another one holds them
// spread over physical ports, port-channels resolved.
class TCAM_SHARING_EXPORT InLifIntfConfig : public Orv::Entity {
   ORV_ENTITY(InLifIntfConfig, "Hardware::ShoalTunnel::InLifIntfConfig")
   ORV_OWNED_COLLECTION(request, InLifIntfKey, InLifIntfFeatureAggr, Orv::KeyedByIndex)
};

// What was handled: a member mirrors the features and the version of the request that was handled
// last. Written by the machines of InLifIntfSm, features first, version last.
class TCAM_SHARING_EXPORT InLifIntfStatus : public Orv::Entity {
   ORV_ENTITY(InLifIntfStatus, "Hardware::ShoalTunnel::InLifIntfStatus")
   ORV_OWNED_COLLECTION(response, InLifIntfKey, InLifIntfFeatureAggr, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
