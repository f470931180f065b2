// The in-LIF feature requests of one component of the switch.
#pragma once

#include "platform/Orv/Entity.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"

namespace Hardware::ShoalTunnel {

struct InLifFeatureRequest {
   InLifFeatureKey key;
   InLifFeatureValue value = 0;

   ORV_VALUE(InLifFeatureRequest, "Hardware::ShoalTunnel::InLifFeatureRequest", key, value)
};

// Written by that component, which enters it in the input directory under its name.
class TCAM_SHARING_EXPORT InLifFeatureRequestDir : public Orv::Entity {
   ORV_ENTITY(InLifFeatureRequestDir, "Hardware::ShoalTunnel::InLifFeatureRequestDir")

   explicit InLifFeatureRequestDir(Orv::Name name) : name_(std::move(name)) {}
   Orv::Name const& name() const { return name_; }
   // Every write notifies, even one of an equal value. Not paged: a directory has some of the
   // features of an interface, and the other directories have the others.
   ORV_EVENTS(request, InLifFeatureKey, InLifFeatureRequest, Orv::SlabStorage)
   void requestIs(InLifFeatureRequest const& request) { requestIs(request.key, request); }

 private:
   Orv::Name name_;
};

} // namespace Hardware::ShoalTunnel
