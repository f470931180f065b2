#include "ShoalTunnel/TcamSharing/TcamSharingTunnelInLifSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "ShoalTunnel/TcamSharing/TcamSharingInLifPolicyId.h"

namespace Hardware::ShoalTunnel {

namespace {
constexpr char const* statusHandler = "handleTunnelToPolicyStatus";
} // namespace

TcamSharingTunnelInLifSm::TcamSharingTunnelInLifSm(
    Orv::Ptr<Shoal::Status const> shoalStatus, Orv::Ptr<TcamSharingConfig const> tcamSharingConfig,
    Orv::Ptr<TcamSharingStatus> tcamSharingStatus, Orv::Ptr<TcamSharingHelper> tcamSharingHelper,
    Orv::Ptr<TunnelPolicyMapperConfig> tunnelToPolicyConfig,
    Orv::Ptr<TunnelPolicyMapperStatus const> tunnelToPolicyStatus,
    Orv::Ptr<TcamSharingInLifCommon> tcamSharingCommon)
    : TcamSharingBaseSm(ORV_NOT_NULL(shoalStatus), std::move(tcamSharingConfig),
                        ORV_NOT_NULL(tcamSharingStatus), ORV_NOT_NULL(tcamSharingHelper)),
      tunnelToPolicyConfig_(ORV_NOT_NULL(tunnelToPolicyConfig)),
      tunnelToPolicyStatus_(std::move(tunnelToPolicyStatus)),
      tcamSharingCommon_(ORV_NOT_NULL(tcamSharingCommon)), orvTunnelToPolicyStatus_(this) {
   doWatch(orvTunnelToPolicyStatus_, tunnelToPolicyStatus_);
   doHandleAllRequests();
}

void TcamSharingTunnelInLifSm::orvDoZombieReactors(bool zombie) {
   TcamSharingBaseSm::orvDoZombieReactors(zombie);
   if (zombie) {
      orvTunnelToPolicyStatus_.remove();
   } else {
      doWatch(orvTunnelToPolicyStatus_, tunnelToPolicyStatus_);
   }
}

uint64_t
TcamSharingTunnelInLifSm::getInLifAdditionalData(TcamSharingPolicyId const& policyId) const {
   return TcamSharingInLifPolicyId(policyId).inLifAdditionalData();
}

void TcamSharingTunnelInLifSm::handleTcamSharingConfig(TcamSharingRequest const& request) {
   SHOAL_TRACE(8, "TcamSharingTunnelInLifSm::", __func__, " ", request.intfId(), " ",
               request.fapId());
   if (tcamSharingCommon_->notARealDelete()) {
      return;
   }
   TunnelPolicyMapperKey key = doFindKey(request);
   TcamSharingPolicyId policyId = tcamSharingConfig()->request(request);
   TcamSharingEntry entry(request, policyId);
   if (!policyId.empty()) {
      SHOAL_TRACE(7, __func__, ": policy create request");
      tcamSharingCommon_->pendingTunnelLifEntriesIs(key, entry);
      tunnelToPolicyConfig_->configIs(key, {getInLifAdditionalData(policyId)});
      return;
   }
   SHOAL_TRACE(7, __func__, ": policy delete request");
   if (tunnelToPolicyConfig_->config(key) != TunnelPolicyMapperResult()) {
      tcamSharingCommon_->pendingTunnelLifEntriesIs(key, entry);
      tunnelToPolicyConfig_->configDel(key);
   } else {
      SHOAL_TRACE(7, __func__, ": entry not present in hardware");
      tcamSharingStatus()->responseDel(request);
   }
}

TunnelPolicyMapperKey TcamSharingTunnelInLifSm::doFindKey(TcamSharingRequest const& request) {
   TunnelPolicyMapperKey key = keys_.get(request.index());
   if (key == TunnelPolicyMapperKey()) {
      key = TunnelPolicyMapperKey(request.intfId(), request.fapId());
      keys_.set(request.index(), key);
   }
   tunnelToPolicyConfig_->configCollection().prefetch(key);
   tcamSharingCommon_->pendingTunnelLifEntriesCollection().prefetch(key);
   if (tunnelToPolicyStatus_) {
      tunnelToPolicyStatus_->statusCollection().prefetch(key);
   }
   return key;
}

void TcamSharingTunnelInLifSm::handleTunnelToPolicyStatus(TunnelPolicyMapperKey const& key) {
   SHOAL_TRACE(8, "TcamSharingTunnelInLifSm::", __func__, " ", key.intfId(), " ", key.fapId());
   TunnelPolicyMapperStatusType status = tunnelToPolicyStatus_->status(key);
   TcamSharingEntry entry = tcamSharingCommon_->pendingTunnelLifEntries(key);
   if (entry == TcamSharingEntry()) {
      SHOAL_TRACE(7, __func__, ": entry not in pending list");
   } else if (status != TunnelPolicyMapperStatusType()) {
      SHOAL_TRACE(7, __func__, ": response received for a create request");
      doHandleWriteAnswer(entry, status);
   } else {
      SHOAL_TRACE(7, __func__, ": response received for a delete request");
      doHandleRemovalAnswer(entry, key);
   }
}

// The pending entry is kept, because the key may be answered again.
void TcamSharingTunnelInLifSm::doHandleWriteAnswer(TcamSharingEntry const& entry,
                                                   TunnelPolicyMapperStatusType const& status) {
   if (status.inLifAdditionalData != getInLifAdditionalData(entry.policyId())) {
      SHOAL_TRACE(7, statusHandler, ": policyId mismatch in response");
      return;
   }
   TcamSharingResponseStatus answer = tcamSharingFailed;
   switch (status.statusCode) {
   case TunnelPolicyMapperStatusType::programmed:
      SHOAL_TRACE(5, statusHandler, ": tunnel lif programming successful");
      answer = tcamSharingSuccess;
      break;
   case TunnelPolicyMapperStatusType::inProgress:
      SHOAL_TRACE(5, statusHandler, ": tunnel lif programming in progress");
      answer = tcamSharingInProgress;
      break;
   default:
      SHOAL_TRACE(0, statusHandler, ": tunnel lif programming failed");
      break;
   }
   tcamSharingStatus()->responseIs(entry.request(), TcamSharingResponse{answer, entry.policyId()});
}

void TcamSharingTunnelInLifSm::doHandleRemovalAnswer(TcamSharingEntry const& entry,
                                                     TunnelPolicyMapperKey key) {
   if (!entry.policyId().empty()) {
      SHOAL_TRACE(7, statusHandler, ": stale delete response");
      return;
   }
   tcamSharingStatus()->responseDel(entry.request());
   tcamSharingCommon_->pendingTunnelLifEntriesDel(key);
}

} // namespace Hardware::ShoalTunnel
