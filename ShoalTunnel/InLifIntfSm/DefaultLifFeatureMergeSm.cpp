#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureMergeSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

DefaultLifFeatureMergeSm::DefaultLifFeatureMergeSm(
    Orv::Ptr<DefaultLifFeatureConfig const> defaultPortLifFeatureCfg,
    Orv::Ptr<DefaultLifFeatureConfig const> defaultVlanLifFeatureCfg,
    Orv::Ptr<DefaultLifFeatureConfig> defaultMergedLifFeatureCfg)
    : defaultPortLifFeatureCfg_(std::move(defaultPortLifFeatureCfg)),
      defaultVlanLifFeatureCfg_(std::move(defaultVlanLifFeatureCfg)),
      defaultMergedLifFeatureCfg_(ORV_NOT_NULL(defaultMergedLifFeatureCfg)) {
   if (defaultPortLifFeatureCfg_) {
      defaultPortLifFeatureCfg_->lifFeatureAttrCollection().watch(
          orvDefaultPortLifFeatureCfg_.emplace(this));
   }
   if (defaultVlanLifFeatureCfg_) {
      defaultVlanLifFeatureCfg_->lifFeatureAttrCollection().watch(
          orvDefaultVlanLifFeatureCfg_.emplace(this));
   }
   handleInitialized();
}

void DefaultLifFeatureMergeSm::handleInitialized() {
   SHOAL_TRACE(8, "DefaultLifFeatureMergeSm::", __func__);
   defaultMergedLifFeatureCfg_->lifFeatureAttrDelAll();
   initialized_ = true;
   handleAllFeatureCfg();
}

void DefaultLifFeatureMergeSm::handleAllFeatureCfg() {
   SHOAL_TRACE(8, "DefaultLifFeatureMergeSm::", __func__);
   for (auto const& side : {defaultPortLifFeatureCfg_, defaultVlanLifFeatureCfg_}) {
      if (side) {
         for (auto const& [intfId, attributes] : side->lifFeatureAttrIter()) {
            handleFeatureCfg(intfId);
         }
      }
   }
}

void DefaultLifFeatureMergeSm::handleFeatureCfg(Plexus::IntfId const& intfId) {
   if (!initialized_) {
      SHOAL_TRACE(8, "DefaultLifFeatureMergeSm::", __func__, ": intfId: ", intfId,
                  ", not initialized yet");
      return;
   }
   SHOAL_TRACE(8, "DefaultLifFeatureMergeSm::", __func__, ": intfId: ", intfId);
   for (auto const& side : {defaultVlanLifFeatureCfg_, defaultPortLifFeatureCfg_}) {
      if (side && side->lifFeatureAttrHas(intfId)) {
         defaultMergedLifFeatureCfg_->lifFeatureAttrIs(intfId, side->lifFeatureAttr(intfId));
         return;
      }
   }
   defaultMergedLifFeatureCfg_->lifFeatureAttrDel(intfId);
}

} // namespace Hardware::ShoalTunnel
