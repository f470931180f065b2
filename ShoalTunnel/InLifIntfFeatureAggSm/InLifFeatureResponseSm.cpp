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
      statusDir_(ORV_NOT_NULL(statusDir)), orvInLifIntfStatus_(this), orvVersion_(this) {
   inLifIntfStatus_->responseCollection().watch(orvInLifIntfStatus_);
   inLifIntfStatus_->responseCollection().watchMembers(orvVersion_);
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

void InLifFeatureResponseSm::handleVersion(InLifIntfKey const& key) {
   if (auto reactor = lifStatusResponse(key)) {
      reactor->handleVersion();
   }
}

void InLifFeatureResponseSm::lifStatusResponseIs(
    Orv::Ptr<InLifIntfFeatureAggr const> const& response) {
   OrvLifStatusResponse reactor(response, this);
   if (lifStatusResponse_.insert(reactor.lifIntfKey())) {
      reactor.handleInitialized();
   }
}

void InLifFeatureResponseSm::lifStatusResponseDel(InLifIntfKey const& key) {
   if (auto reactor = lifStatusResponse(key)) {
      lifStatusResponse_.erase(key);
      reactor->handleDelete();
   }
}

void InLifFeatureResponseSm::lifStatusResponseDelAll() {
   for (auto const& [key, response] : inLifIntfStatus_->responseIter()) {
      lifStatusResponseDel(key);
   }
   for (InLifIntfKey key : lifStatusResponse_.keys()) {
      lifStatusResponseDel(key);
   }
}

void InLifFeatureResponseSm::OrvLifStatusResponse::handleVersion() {
   SHOAL_TRACE(8, *this, __func__);
   Orv::Ptr<InLifIntfFeatureAggr const> handled;
   Orv::Ptr<InLifIntfFeatureAggr const> requested;
   bool changed = true;
   for (InLifFeatureType type : inLifFeatureTypes) {
      if (changed) {
         // A reactor on a response that changed may have removed the status.
         handled = sm_->inLifIntfStatus_->response(key_);
         requested = sm_->inLifIntfCfg_->request(key_);
      }
      changed = doUpdateFeature(type, handled.get(), requested.get());
   }
}

bool InLifFeatureResponseSm::OrvLifStatusResponse::doUpdateFeature(
    InLifFeatureType type, InLifIntfFeatureAggr const* handled,
    InLifIntfFeatureAggr const* requested) {
   auto& statusDir = *sm_->statusDir_;
   if (handled == nullptr || !handled->featureAggHas(type)) {
      SHOAL_TRACE(7, *this, "Deleting response for ", type);
      InLifFeatureKey key = InLifFeatureKey::existing(key_, type);
      bool had = statusDir.responseHas(key);
      statusDir.responseDel(key);
      return had;
   }
   // Another version, even a newer one, changes nothing: the machine that handles it will write the
   // status again.
   if (requested == nullptr || requested->version() != handled->version()) {
      return false;
   }
   InLifFeatureValue programmed = valueOf(*handled, type);
   InLifFeatureResponse response{InLifFeatureKey(key_, type), programmed,
                                 InLifFeatureResponseStatus::success};
   if (valueOf(*requested, type) == programmed) {
      SHOAL_TRACE(7, *this, "Setting response for ", type, " to success ", "value:", programmed);
   } else {
      SHOAL_TRACE(7, *this, "Setting response for ", type, " to fail ", "value:", programmed);
      response.status = InLifFeatureResponseStatus::failure;
   }
   if (statusDir.response(response.key) == response) {
      return false;
   }
   statusDir.responseIs(response);
   return true;
}

void InLifFeatureResponseSm::OrvLifStatusResponse::handleDelete() {
   SHOAL_TRACE(8, *this, __func__);
   for (InLifFeatureType type : inLifFeatureTypes) {
      // A reactor on a deleted response may request the feature again. From then on another reactor
      // owns the responses.
      if (sm_->lifStatusResponseHas(key_)) {
         return;
      }
      sm_->statusDir_->responseDel(InLifFeatureKey::existing(key_, type));
   }
}

} // namespace Hardware::ShoalTunnel
