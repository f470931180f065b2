// Folds the two sides of default in-LIF feature words into the table that hardware reads.
//
// Reads the ports' and the VLANs' table, writes the merged one, which it clears when it starts. The
// VLAN's word wins outright: words are not combined, so it must carry the port's features itself. A
// null table reads as empty. Live from construction on. Event thread only.
#pragma once

#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureConfig.h"

#include <optional>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT DefaultLifFeatureMergeSm : public Orv::RefCounted {
 public:
   DefaultLifFeatureMergeSm(Orv::Ptr<DefaultLifFeatureConfig const> defaultPortLifFeatureCfg,
                            Orv::Ptr<DefaultLifFeatureConfig const> defaultVlanLifFeatureCfg,
                            Orv::Ptr<DefaultLifFeatureConfig> defaultMergedLifFeatureCfg);

   void handleInitialized();
   void handleAllFeatureCfg();
   // The interface's word on either side was added, changed or removed.
   void handleFeatureCfg(Plexus::IntfId const& intfId);
   bool initialized() const { return initialized_; }

 private:
   using OrvFeatureCfg = Orv::ReactorFor<&DefaultLifFeatureMergeSm::handleFeatureCfg>;

   Orv::Ptr<DefaultLifFeatureConfig const> defaultPortLifFeatureCfg_;
   Orv::Ptr<DefaultLifFeatureConfig const> defaultVlanLifFeatureCfg_;
   Orv::Ptr<DefaultLifFeatureConfig> defaultMergedLifFeatureCfg_;
   bool initialized_ = false;
   std::optional<OrvFeatureCfg> orvDefaultPortLifFeatureCfg_; // none without its table
   std::optional<OrvFeatureCfg> orvDefaultVlanLifFeatureCfg_;
};

// With the constructor's arguments.
template<class... Args>
Orv::Ptr<DefaultLifFeatureMergeSm> DefaultLifFeatureMergeSmIs(Args&&... args) {
   return Orv::make<DefaultLifFeatureMergeSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
