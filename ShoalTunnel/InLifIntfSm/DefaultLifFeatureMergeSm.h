// Merges the default in-LIF feature words of ports and VLANs into the table that hardware reads.
//
// Reads the two tables and writes the merged one, which it clears at the start. The word of the
// VLAN replaces that of the port: words are not combined, so the VLAN's word has to include the
// features of the port. A null table reads as empty. Ready after construction. Event thread only.
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
   // The word of the interface in one of the two tables was added, changed or removed.
   void handleFeatureCfg(Plexus::IntfId const& intfId);
   bool initialized() const { return initialized_; }

 private:
   using OrvFeatureCfg = Orv::ReactorFor<&DefaultLifFeatureMergeSm::handleFeatureCfg>;

   Orv::Ptr<DefaultLifFeatureConfig const> defaultPortLifFeatureCfg_;
   Orv::Ptr<DefaultLifFeatureConfig const> defaultVlanLifFeatureCfg_;
   Orv::Ptr<DefaultLifFeatureConfig> defaultMergedLifFeatureCfg_;
   bool initialized_ = false;
   std::optional<OrvFeatureCfg> orvDefaultPortLifFeatureCfg_; // empty without its table
   std::optional<OrvFeatureCfg> orvDefaultVlanLifFeatureCfg_;
};

template<class... Args>
Orv::Ptr<DefaultLifFeatureMergeSm> DefaultLifFeatureMergeSmIs(Args&&... args) {
   return Orv::make<DefaultLifFeatureMergeSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
