#include "ShoalTunnel/TcamSharing/TcamSharingInLifSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "ShoalTunnel/TcamSharing/TcamSharingInLifPolicyId.h"

namespace Hardware::ShoalTunnel {

using Bridging::Dot1qEncap;
using Plexus::IntfId;

namespace {
uint64_t additionalData(TcamSharingPolicyId policyId) {
   return policyId.empty() ? 0 : TcamSharingInLifPolicyId(policyId).inLifAdditionalData();
}
} // namespace

TcamSharingInLifSm::TcamSharingInLifSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                                       Orv::Ptr<TcamSharingConfig const> tcamSharingConfig,
                                       Orv::Ptr<TcamSharingStatus> tcamSharingStatus,
                                       Orv::Ptr<TcamSharingHelper> tcamSharingHelper,
                                       Orv::Ptr<VlanTagToVsiMapperConfig> vtagToVsiConfig,
                                       Orv::Ptr<VlanTagToVsiMapperStatus const> vtagToVsiStatus,
                                       Orv::Ptr<TcamSharingInLifCommon> tcamSharingCommon)
    : TcamSharingBaseSm(ORV_NOT_NULL(shoalStatus), std::move(tcamSharingConfig),
                        ORV_NOT_NULL(tcamSharingStatus), ORV_NOT_NULL(tcamSharingHelper)),
      vtagToVsiConfig_(ORV_NOT_NULL(vtagToVsiConfig)), vtagToVsiStatus_(std::move(vtagToVsiStatus)),
      tcamSharingCommon_(ORV_NOT_NULL(tcamSharingCommon)), orvVtagToVsiStatus_(this) {
   doWatch(orvVtagToVsiStatus_, vtagToVsiStatus_);
   doHandleAllRequests();
}

void TcamSharingInLifSm::orvDoZombieReactors(bool zombie) {
   TcamSharingBaseSm::orvDoZombieReactors(zombie);
   if (zombie) {
      orvVtagToVsiStatus_.remove();
   } else {
      doWatch(orvVtagToVsiStatus_, vtagToVsiStatus_);
   }
}

void TcamSharingInLifSm::handleTcamSharingConfig(TcamSharingRequest const& request) {
   SHOAL_TRACE(8, "TcamSharingInLifSm::", __func__, " ", request);
   if (tcamSharingCommon_->notARealDelete()) {
      return;
   }
   doPrefetch(keys_.get(request.index()));
   TcamSharingPolicyId policyId = tcamSharingConfig()->request(request);
   ORV_ASSERT(shoalStatus()->fapType(request.fapId()) != Shoal::fapTypeArad,
              "shoalStatus()->fapType( request.fapId() ) != Hardware::Shoal::fapTypeArad()");
   SHOAL_TRACE(7, __func__, ": policyId: ", policyId);
   TcamSharingEntry entry(request, policyId);
   bool fapAvailable = shoalStatus()->fapAvailable(request.fapId());
   SHOAL_TRACE(7, __func__, ": fapAvailable: ", fapAvailable);
   auto vlanDomain = tcamSharingHelper()->getVlanDomainForIntf(request.intfId(), request.fapId());
   auto encap =
       tcamSharingHelper()->getDot1qEncapForIntf(request.intfId(), request.l3FloodPortVlanId());
   if (policyId.empty()) {
      // No return here: the data in the mapper have to be cleared as well.
      tcamSharingCommon_->tcamRequestToVlanTagToVsiKeyMappingDel(request);
      tcamSharingStatus()->responseDel(request);
   }
   if (!fapAvailable || !vlanDomain || !encap.valid) {
      if (!policyId.empty()) {
         tcamSharingCommon_->retryListIs(entry, true);
         tcamSharingStatus()->responseIs(request,
                                         TcamSharingResponse{tcamSharingInProgress, policyId});
      }
      return;
   }
   if (!Plexus::SubIntfId::isSubIntfId(request.intfId())) {
      return;
   }
   IntfId parent = Plexus::SubIntfId::parentIntfId(request.intfId());
   if (Plexus::PortChannelIntfId::isPortChannelIntfId(parent)) {
      doProgramOnPortChannel(entry, parent, encap.dot1qEncap);
   } else {
      doProgramOnPort(entry, parent, encap.dot1qEncap);
   }
}

void TcamSharingInLifSm::doPrefetch(VlanTagToVsiMapperKey key) const {
   key.prefetch();
   vtagToVsiConfig_->configCollection().prefetch(key);
   tcamSharingCommon_->pendingLifEntriesCollection().prefetch(key);
   if (vtagToVsiStatus_) {
      vtagToVsiStatus_->statusCollection().prefetch(key);
   }
}

void TcamSharingInLifSm::doProgramOnPort(TcamSharingEntry const& entry, IntfId port,
                                         Dot1qEncap dot1qEncap) {
   uint64_t newData = additionalData(entry.policyId());
   VlanTagToVsiMapperKey last = keys_.get(entry.request().index());
   VlanTagToVsiMapperKey key = tcamSharingHelper()->getVlanTagToVsiMapperKeyForSubIntf(
       port, entry.request(), dot1qEncap, last);
   if (key != last) {
      keys_.set(entry.request().index(), key);
   }
   auto result = vtagToVsiConfig_->configCollection().find(key);
   if (!result) {
      doWaitForMapperEntry(entry);
      SHOAL_TRACE(7, "Subintf is not programmed");
      return;
   }
   if (result->inLifAdditionalData == newData) {
      SHOAL_TRACE(7, configHandler, " : bypassing Lif programming, no change ", "required for ",
                  entry.request());
      doAnswerBypassed(entry, newData);
      return;
   }
   result->inLifAdditionalData = newData;
   tcamSharingCommon_->pendingLifEntriesIs(key, entry);
   tcamSharingCommon_->tcamSharingEntryRefCountIs(entry, 1);
   // Last, because the answer may come from inside this write and needs what is recorded above.
   vtagToVsiConfig_->configIs(key, *result);
}

void TcamSharingInLifSm::doProgramOnPortChannel(TcamSharingEntry const& entry, IntfId portChannel,
                                                Dot1qEncap dot1qEncap) {
   uint64_t newData = additionalData(entry.policyId());
   auto lagEntry = tcamSharingHelper()->getVlanDomainForLagFap(portChannel, entry.fapId());
   if (!lagEntry) {
      // Dropped, not retried: the entry existed a moment ago and went while this request was
      // processed.
      SHOAL_TRACE(0, configHandler, ": no vlanDomainPerLagFap entry found for lag: ", portChannel,
                  ", on fap: ", entry.fapId());
      return;
   }
   for (auto const& [port, present] : lagEntry->memberPortIter()) {
      IntfId member = tcamSharingHelper()->getIntfIdForFapPort(entry.fapId(), port);
      VlanTagToVsiMapperKey key = tcamSharingHelper()->getVlanTagToVsiMapperKeyForSubIntf(
          member, entry.request(), dot1qEncap);
      auto result = vtagToVsiConfig_->configCollection().find(key);
      if (!result) {
         // The members written so far stay written and pending; the retry handles the others.
         doWaitForMapperEntry(entry);
         return;
      }
      if (result->inLifAdditionalData == newData) {
         SHOAL_TRACE(7, configHandler, " : bypassing Lif programming for ", entry.request(),
                     " on intfId: ", member);
         doAnswerBypassed(entry, newData);
         continue;
      }
      result->inLifAdditionalData = newData;
      tcamSharingCommon_->pendingLifEntriesIs(key, entry);
      tcamSharingCommon_->tcamSharingEntryRefCountInc(entry, 1);
      vtagToVsiConfig_->configIs(key, *result);
   }
}

void TcamSharingInLifSm::doWaitForMapperEntry(TcamSharingEntry const& entry) {
   if (!entry.policyId().empty()) {
      tcamSharingCommon_->retryListIs(entry, true);
   }
   tcamSharingCommon_->tcamSharingEntryRefCountDel(entry);
}

void TcamSharingInLifSm::doAnswerBypassed(TcamSharingEntry const& entry, uint64_t newData) {
   if (newData != 0) {
      tcamSharingStatus()->responseIs(entry.request(),
                                      TcamSharingResponse{tcamSharingSuccess, entry.policyId()});
   }
}

void TcamSharingInLifSm::handleVtagToVsiStatus(VlanTagToVsiMapperKey const& key) {
   SHOAL_TRACE(8, "TcamSharingInLifSm::", __func__, " ", key);
   TcamSharingEntry entry = tcamSharingCommon_->pendingLifEntries(key);
   if (entry == TcamSharingEntry()) {
      SHOAL_TRACE(7, __func__, ": response we can safely ignore");
      return;
   }
   VlanTagToVsiMapperStatusType status = vtagToVsiStatus_->status(key);
   SHOAL_TRACE(7, __func__, ": statusEntry: ", status);
   if (status.inLifAdditionalData != vtagToVsiConfig_->config(key).inLifAdditionalData) {
      // The key stays pending until the latest write is answered.
      SHOAL_TRACE(7, __func__, ": PolicyId updated. Ignoring this response");
      doDecrementRefCountOnTcamSharingEntry(entry);
      return;
   }
   // The success of one member does not overwrite the failure of another.
   if (tcamSharingCommon_->vtagToVsiStatusErrorType(entry) == VlanTagToVsiMapperErrorType::none ||
       status.errorType != VlanTagToVsiMapperErrorType::success) {
      tcamSharingCommon_->vtagToVsiStatusErrorTypeIs(entry, status.errorType);
   }
   tcamSharingCommon_->tcamRequestToVlanTagToVsiKeyMappingIs(entry.request())
       ->vtagToVsiMapperKeyIs(key);
   doDecrementRefCountOnTcamSharingEntry(entry);
   if (tcamSharingCommon_->tcamSharingEntryRefCount(entry) == 0) {
      doAnswer(entry, status);
   }
   tcamSharingCommon_->pendingLifEntriesDel(key);
}

void TcamSharingInLifSm::doAnswer(TcamSharingEntry const& entry,
                                  VlanTagToVsiMapperStatusType const& status) {
   TcamSharingRequest request = entry.request();
   if (tcamSharingCommon_->vtagToVsiStatusErrorType(entry) !=
       VlanTagToVsiMapperErrorType::success) {
      tcamSharingStatus()->responseIs(request,
                                      TcamSharingResponse{tcamSharingFailed, entry.policyId()});
      tcamSharingCommon_->tcamRequestToVlanTagToVsiKeyMappingDel(request);
   } else {
      SHOAL_TRACE(7, "Adding to lif response");
      if (status.inLifAdditionalData == 0) {
         tcamSharingStatus()->responseDel(request);
         tcamSharingCommon_->tcamRequestToVlanTagToVsiKeyMappingDel(request);
      } else {
         tcamSharingStatus()->responseIs(request,
                                         TcamSharingResponse{tcamSharingSuccess, entry.policyId()});
      }
   }
   tcamSharingCommon_->vtagToVsiStatusErrorTypeDel(entry);
}

void TcamSharingInLifSm::doDecrementRefCountOnTcamSharingEntry(TcamSharingEntry const& entry) {
   SHOAL_TRACE(8, "TcamSharingInLifSm::", __func__, ": ", entry);
   uint32_t count = tcamSharingCommon_->tcamSharingEntryRefCount(entry);
   if (count == 1) {
      tcamSharingCommon_->tcamSharingEntryRefCountDel(entry);
   } else {
      tcamSharingCommon_->tcamSharingEntryRefCountDec(entry, 1);
   }
}

} // namespace Hardware::ShoalTunnel
