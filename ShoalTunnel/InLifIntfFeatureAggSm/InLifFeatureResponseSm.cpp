#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureResponseSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

namespace {

constexpr InLifFeatureValue kMissing = 0xffffffff;

InLifFeatureValue valueOf(InLifIntfFeatureAggr const& aggr, InLifFeatureType type) {
   return aggr.featureAggHas(type) ? aggr.featureAgg(type) : kMissing;
}

} // namespace

InLifFeatureResponseSm::InLifFeatureResponseSm(Orv::Ptr<InLifIntfStatus const> inLifIntfStatus,
                                               Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                                               Orv::Ptr<InLifFeatureStatus> statusDir)
    : inLifIntfStatus_(ORV_NOT_NULL(inLifIntfStatus)), inLifIntfCfg_(ORV_NOT_NULL(inLifIntfCfg)),
      statusDir_(ORV_NOT_NULL(statusDir)), orvInLifIntfStatus_(this) {
   inLifIntfStatus_->responseCollection().watch(orvInLifIntfStatus_);
   for (auto const& [key, response] : inLifIntfStatus_->responseIter()) {
      lifStatusResponseIs(response);
   }
}

void InLifFeatureResponseSm::handleInLifIntfStatus(InLifIntfKey const& key) {
   if (auto response = inLifIntfStatus_->response(key)) {
      lifStatusResponseIs(response);
   } else {
      lifStatusResponseDel(key);
   }
}

void InLifFeatureResponseSm::lifStatusResponseIs(
    Orv::Ptr<InLifIntfFeatureAggr const> const& response) {
   InLifIntfKey key = response ? response->key() : InLifIntfKey();
   if (auto reactor = lifStatusResponse_.get(key)) {
      reactor->aggrIs(response);
      return;
   }
   auto reactor = Orv::make<OrvLifStatusResponse>(response, this);
   lifStatusResponse_.set(key, reactor);
   reactor->handleInitialized();
}

void InLifFeatureResponseSm::lifStatusResponseDel(InLifIntfKey const& key) {
   if (auto reactor = lifStatusResponse_.get(key)) {
      lifStatusResponse_.del(key);
      reactor->remove();
      reactor->handleDelete();
   }
}

void InLifFeatureResponseSm::lifStatusResponseDelAll() {
   for (auto const& [key, reactor] : lifStatusResponse_.walk()) {
      lifStatusResponseDel(key);
   }
}

void InLifFeatureResponseSm::OrvLifStatusResponse::handleVersion() {
   SHOAL_TRACE(8, *this, __func__);
   // The status may go, and this reactor with it, from inside the write of a response. So it is
   // kept, and every feature looks at what stands at its turn.
   Orv::Ptr<OrvLifStatusResponse> self(this);
   for (InLifFeatureType type : inLifFeatureTypes) {
      doUpdateFeature(type);
   }
}

void InLifFeatureResponseSm::OrvLifStatusResponse::doUpdateFeature(InLifFeatureType type) {
   auto handled = sm_->inLifIntfStatus_->response(key());
   if (!handled || !handled->featureAggHas(type)) {
      SHOAL_TRACE(7, *this, "Deleting response for ", type);
      sm_->statusDir_->responseDel(InLifFeatureKey::existing(key(), type));
      return;
   }
   auto requested = sm_->inLifIntfCfg_->request(key());
   // Any other version, newer ones included: the machine that handles it will write the status
   // anew.
   if (!requested || requested->version() != handled->version()) {
      return;
   }
   InLifFeatureValue programmed = valueOf(*handled, type);
   InLifFeatureResponse response{InLifFeatureKey(key(), type), programmed,
                                 InLifFeatureResponseStatus::success};
   if (valueOf(*requested, type) == programmed) {
      SHOAL_TRACE(7, *this, "Setting response for ", type, " to success ", "value:", programmed);
   } else {
      SHOAL_TRACE(7, *this, "Setting response for ", type, " to fail ", "value:", programmed);
      response.status = InLifFeatureResponseStatus::failure;
   }
   sm_->statusDir_->responseIs(response);
}

void InLifFeatureResponseSm::OrvLifStatusResponse::handleDelete() {
   SHOAL_TRACE(8, *this, __func__);
   for (InLifFeatureType type : inLifFeatureTypes) {
      // Who hears of the end may ask anew at once: the answers are another reactor's from then on.
      if (sm_->lifStatusResponse_.has(key())) {
         return;
      }
      sm_->statusDir_->responseDel(InLifFeatureKey::existing(key(), type));
   }
}

} // namespace Hardware::ShoalTunnel
