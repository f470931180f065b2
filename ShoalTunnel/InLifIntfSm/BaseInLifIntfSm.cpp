#include "ShoalTunnel/InLifIntfSm/BaseInLifIntfSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

using Plexus::IntfId;

BaseInLifIntfSm::BaseInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                                 Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                                 Orv::Ptr<Shoal::Status const> shoalStatus)
    : inLifIntfCfg_(ORV_NOT_NULL(inLifIntfCfg)), inLifIntfStatus_(ORV_NOT_NULL(inLifIntfStatus)),
      shoalStatus_(ORV_NOT_NULL(shoalStatus)), orvInLifIntfCfg_(this), orvVersion_(this),
      orvShoalStatus_(this) {
   inLifIntfCfg_->requestCollection().watch(orvInLifIntfCfg_);
   inLifIntfCfg_->requestCollection().watchMembers(orvVersion_);
   shoalStatus_->tcamKeyVersionAttribute().watch(orvShoalStatus_);
   for (auto const& [key, aggr] : inLifIntfCfg_->requestIter()) {
      lifIntfCfgIs(aggr);
   }
}

BaseInLifIntfSm::~BaseInLifIntfSm() = default;

void BaseInLifIntfSm::handleInitialized() {
   SHOAL_TRACE(8, "BaseInLifIntfSm::", __func__);
   // Requests that an earlier machine handled and that were withdrawn while there was no machine.
   for (auto const& [key, response] : inLifIntfStatus_->responseIter()) {
      if (!inLifIntfCfg_->requestHas(key)) {
         doHandleRequest(key, false);
      }
   }
   std::exception_ptr refused = doHandleEveryRequest();
   initialized_ = true;
   doHandleStarted();
   if (refused) {
      std::rethrow_exception(refused);
   }
}

std::exception_ptr BaseInLifIntfSm::doHandleEveryRequest() {
   std::exception_ptr refused;
   for (auto const& [key, aggr] : inLifIntfCfg_->requestIter()) {
      try {
         doHandleRequest(key, true);
      } catch (Orv::RangeException const&) {
         refused = refused ? refused : std::current_exception();
      }
   }
   return refused;
}

void BaseInLifIntfSm::doForgetWithdrawn(bool (*isOwn)(IntfId)) {
   for (auto const& [key, response] : inLifIntfStatus_->responseIter()) {
      if (isOwn(key.intfId()) && !inLifIntfCfg_->requestHas(key)) {
         doUpdateResponse(key);
      }
   }
}

void BaseInLifIntfSm::handleTcamKeyVersion() {
   SHOAL_TRACE(8, "BaseInLifIntfSm::", __func__);
   if (!initialized_) {
      return;
   }
   // A new layout may move every feature, even if no aggregate has a new version.
   if (std::exception_ptr refused = doHandleEveryRequest()) {
      std::rethrow_exception(refused);
   }
}

void BaseInLifIntfSm::handleInLifIntfCfg(InLifIntfKey const& key) {
   if (auto aggr = inLifIntfCfg_->request(key)) {
      lifIntfCfgIs(aggr);
   } else {
      lifIntfCfgDel(key);
   }
}

void BaseInLifIntfSm::handleVersion(InLifIntfKey const& key) {
   if (auto reactor = lifIntfCfg(key)) {
      reactor->handleVersion();
   }
}

void BaseInLifIntfSm::doHandleRequest(InLifIntfKey const&, bool) {
   ORV_ASSERT(false, "false", "To be implemented in inherited class");
}

void BaseInLifIntfSm::doUpdateResponse(InLifIntfKey const& key) {
   SHOAL_TRACE(8, "BaseInLifIntfSm::", __func__, " key: ", key);
   auto aggr = inLifIntfCfg_->request(key);
   if (!aggr) {
      SHOAL_TRACE(7, " Deleted local status for lifIntfKey: ", key);
      inLifIntfStatus_->responseDel(key);
      return;
   }
   auto response = inLifIntfStatus_->responseIs(key);
   for (auto const& [type, value] : aggr->featureAggIter()) {
      response->featureAggIs(type, value);
   }
   if (response->featureAggs() != aggr->featureAggs()) {
      for (auto const& [type, value] : response->featureAggIter()) {
         if (!aggr->featureAggHas(type)) {
            response->featureAggDel(type);
         }
      }
   }
   SHOAL_TRACE(7, " Updated local status for lifIntfKey: ", key, ", version: ", aggr->version());
   // Last, so that a reader never sees a new version with old features.
   response->versionIs(aggr->version());
}

void BaseInLifIntfSm::lifIntfCfgIs(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr) {
   if (!aggr) {
      throw Orv::NullArgumentException("BaseInLifIntfSm::lifIntfCfgIs of a null aggregate");
   }
   if (!lifIntfCfgHas(aggr->key())) {
      newLifIntfCfg(aggr);
   }
}

BaseInLifIntfSm::OrvLifIntfCfg
BaseInLifIntfSm::newLifIntfCfg(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr) {
   if (!aggr) {
      throw Orv::NullArgumentException("BaseInLifIntfSm::newLifIntfCfg of a null aggregate");
   }
   OrvLifIntfCfg reactor(aggr->key(), this);
   lifIntfCfg_.insert(reactor.lifIntfKey());
   reactor.handleInitialized();
   return reactor;
}

void BaseInLifIntfSm::lifIntfCfgDel(InLifIntfKey const& key) {
   if (auto reactor = lifIntfCfg(key)) {
      lifIntfCfg_.erase(key);
      reactor->handleDelete();
   }
}

void BaseInLifIntfSm::lifIntfCfgDelAll() {
   for (auto const& [key, aggr] : inLifIntfCfg_->requestIter()) {
      lifIntfCfgDel(key);
   }
   for (InLifIntfKey key : lifIntfCfg_.keys()) {
      lifIntfCfgDel(key);
   }
}

void BaseInLifIntfSm::OrvLifIntfCfg::handleInitialized() {
   SHOAL_TRACE(8, *this, __func__);
}

void BaseInLifIntfSm::OrvLifIntfCfg::handleVersion() {
   SHOAL_TRACE(8, *this, __func__, ", version:", lifIntfCfg() ? lifIntfCfg()->version() : 0);
   if (sm_->initialized()) {
      sm_->doHandleRequest(key_, true);
   }
}

void BaseInLifIntfSm::OrvLifIntfCfg::handleDelete() {
   SHOAL_TRACE(8, *this, __func__);
   if (sm_->initialized()) {
      sm_->doHandleRequest(key_, false);
   }
}

} // namespace Hardware::ShoalTunnel
