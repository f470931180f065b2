#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestAggSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

InLifFeatureRequestAggSm::InLifFeatureRequestAggSm(
    Orv::Ptr<InLifFeatureRequestDir const> requestDir, Orv::Ptr<InLifIntfConfig> inLifIntfCfg)
    : requestDir_(std::move(requestDir)), inLifIntfCfg_(ORV_NOT_NULL(inLifIntfCfg)),
      orvRequestDir_(this) {
   if (requestDir_) {
      requestDir_->requestCollection().watch(orvRequestDir_);
   }
   handleAllRequest();
}

void InLifFeatureRequestAggSm::handleRequest(InLifFeatureKey const& reqKey) {
   SHOAL_TRACE(8, *this, __func__);
   InLifIntfKey intfKey = reqKey.intfKey();
   InLifFeatureType type = reqKey.featureType();
   auto request = requestDir_ ? requestDir_->requestCollection().find(reqKey) : std::nullopt;
   if (request) {
      auto aggr = inLifIntfCfg_->requestIs(intfKey);
      aggr->featureAggIs(type, request->value);
      SHOAL_TRACE(7, "Added/modified intfCfg: ", intfKey, " feature: ", type);
      aggr->versionInc(1);
      return;
   }
   auto aggr = inLifIntfCfg_->request(intfKey);
   if (!aggr) {
      return;
   }
   aggr->featureAggDel(type);
   if (aggr->featureAggs() != 0) {
      SHOAL_TRACE(7, "Removed feature for intfCfg: ", intfKey, " feature: ", type);
      aggr->versionInc(1);
   } else {
      // No new version: consumers see the aggregate go.
      SHOAL_TRACE(7, "Deleting intfCfg for: ", intfKey);
      inLifIntfCfg_->requestDel(intfKey);
   }
}

void InLifFeatureRequestAggSm::handleAllRequest() {
   SHOAL_TRACE(8, *this, __func__);
   if (requestDir_) {
      for (auto const& [reqKey, request] : requestDir_->requestIter()) {
         handleRequest(reqKey);
      }
   }
}

} // namespace Hardware::ShoalTunnel
