#include "ShoalTunnel/TcamSharing/TcamSharingSemSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

namespace Hardware::ShoalTunnel {

using Bridging::VlanId;

TcamSharingSemSm::TcamSharingSemSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                                   Orv::Ptr<TcamSharingConfig const> tcamSharingConfig,
                                   Orv::Ptr<TcamSharingStatus> tcamSharingStatus,
                                   Orv::Ptr<TcamSharingHelper> tcamSharingHelper,
                                   Orv::Ptr<SemTableConfig> isemBTableConfig,
                                   Orv::Ptr<SemTableStatus const> isemBTableStatus,
                                   Orv::Ptr<TcamSharingSemCommon> tcamSharingCommon)
    : TcamSharingBaseSm(ORV_NOT_NULL(shoalStatus), std::move(tcamSharingConfig),
                        ORV_NOT_NULL(tcamSharingStatus), ORV_NOT_NULL(tcamSharingHelper)),
      isemBTableConfig_(ORV_NOT_NULL(isemBTableConfig)),
      isemBTableStatus_(std::move(isemBTableStatus)),
      tcamSharingCommon_(ORV_NOT_NULL(tcamSharingCommon)), orvIsemBTableStatus_(this) {
   doWatch(orvIsemBTableStatus_, isemBTableStatus_);
   doHandleAllRequests();
}

void TcamSharingSemSm::orvDoZombieReactors(bool zombie) {
   TcamSharingBaseSm::orvDoZombieReactors(zombie);
   if (zombie) {
      orvIsemBTableStatus_.remove();
   } else {
      doWatch(orvIsemBTableStatus_, isemBTableStatus_);
   }
}

void TcamSharingSemSm::handleTcamSharingConfig(TcamSharingRequest const& request) {
   SHOAL_TRACE(8, "TcamSharingSemSm::handleTcamSharingConfig");
   if (tcamSharingCommon_->notARealDelete()) {
      return;
   }
   TcamSharingPolicyId policyId = tcamSharingConfig()->request(request);
   SHOAL_TRACE(7, __func__, ": policyId: ", policyId);
   if (policyId.empty()) {
      doRemove(request);
   } else {
      doProgram(request, policyId);
   }
}

void TcamSharingSemSm::doRemove(TcamSharingRequest const& request) {
   AradSemKeyAndFap keyToDel = tcamSharingCommon_->tcamRequestToIsemKeyMapping(request);
   switch (tcamSharingStatus()->response(request).status) {
   case tcamSharingFailed:
      SHOAL_TRACE(7, configHandler, ": deleting previously failed req");
      ORV_ASSERT(keyToDel != AradSemKeyAndFap(), "keyToDel != AradSemKeyAndFap()",
                 " we should have stored a mapping for failed request: ", request);
      break;
   case tcamSharingInProgress:
      SHOAL_TRACE(7, configHandler, ": del of in progress status");
      tcamSharingStatus()->responseDel(request);
      break;
   case tcamSharingSuccess:
      SHOAL_TRACE(7, configHandler, ": deleting successful req");
      ORV_ASSERT(keyToDel != AradSemKeyAndFap(), "keyToDel != AradSemKeyAndFap()",
                 " we should have stored a mapping for successful request: ", request);
      break;
   case tcamSharingNone:
      break;
   }
   if (keyToDel == AradSemKeyAndFap()) {
      return;
   }
   SHOAL_TRACE(7, configHandler, ": removing keyToDel: ", keyToDel);
   // The entry is removed even if other requests share it. It is written again at the next change
   // of one of them.
   if (isemBTableConfig_->configHas(keyToDel)) {
      // Queued before the write: the answer may come from inside it.
      doEnqueuePending(keyToDel, false, TcamSharingEntry(request, TcamSharingPolicyId()));
      isemBTableConfig_->configDel(keyToDel);
   } else {
      SHOAL_TRACE(7, configHandler, ": no longer in isemConfig, deleting ",
                  "TcamSharingStatus directly");
      tcamSharingStatus()->responseDel(request);
   }
   doDropUser(keyToDel, request);
   tcamSharingCommon_->tcamRequestToIsemKeyMappingDel(request);
}

void TcamSharingSemSm::doProgram(TcamSharingRequest const& request, TcamSharingPolicyId policyId) {
   TcamSharingEntry entry(request, policyId);
   AradSemKeyAndFap prevKey = tcamSharingCommon_->tcamRequestToIsemKeyMapping(request);
   doPrefetch(prevKey); // most probably it stays the key
   bool fapAvailable = shoalStatus()->fapAvailable(request.fapId());
   auto vlanDomain = tcamSharingHelper()->getVlanDomainForIntf(request.intfId(), request.fapId());
   auto encap =
       tcamSharingHelper()->getDot1qEncapForIntf(request.intfId(), request.l3FloodPortVlanId());
   SHOAL_TRACE(7, configHandler, ": fapAvailable: ", fapAvailable);
   if (!fapAvailable || !vlanDomain || !encap.valid) {
      tcamSharingCommon_->retryListIs(entry, true);
      SHOAL_TRACE(5, configHandler, ": posting in progress for pending entry missing: ",
                  "fapAvailable: ", fapAvailable, ", vlanDomain.success: ", vlanDomain.has_value(),
                  ", vlanId.success: ", encap.valid);
      tcamSharingStatus()->responseIs(request,
                                      TcamSharingResponse{tcamSharingInProgress, policyId});
      return;
   }
   if (encap.dot1qEncap.inner != 0) {
      // The key holds one tag only, so the request is neither programmed nor answered.
      SHOAL_TRACE(7, configHandler, ": QinQ L3 subinterface dot1qEncap:", encap.dot1qEncap);
      return;
   }
   VlanId vlanId(encap.dot1qEncap.outer);
   if (SHOAL_TRACE_ON(5)) [[unlikely]] {
      SHOAL_TRACE(5, configHandler, ": vlanDomain: ", *vlanDomain);
      SHOAL_TRACE(5, configHandler, ": vlanId: ", vlanId);
   }
   AradSemPayload payload = AradSemPayload::basic(
       TcamSharingIsemPolicyId(policyId).makeISemPayloadValue(shoalStatus(), request.fapId()));
   AradSemKeyAndFap newKey(AradISemKeyTcamSharing(vlanId, *vlanDomain).key(), request.fapId(),
                           prevKey);
   if (isemBTableConfig_->configHas(newKey) && isemBTableConfig_->config(newKey) == payload) {
      SHOAL_TRACE(7, configHandler, ": bypassing isem programming, no change required for ",
                  request);
      tcamSharingStatus()->responseIs(request, TcamSharingResponse{tcamSharingSuccess, policyId});
      return;
   }
   if (prevKey != AradSemKeyAndFap() && prevKey != newKey) {
      doLeavePrevKey(request, prevKey);
   }
   doEnqueuePending(newKey, true, entry);
   tcamSharingCommon_->semToRequestIs(newKey)->requestIs(request);
   tcamSharingCommon_->tcamRequestToIsemKeyMappingIs(request, newKey);
   // Last, because the answer may come from inside this write and needs what is recorded above.
   isemBTableConfig_->configIs(newKey, payload);
   SHOAL_TRACE_SPLIT(7, (configHandler, ": finished on ", request),
                     (configHandler, ": finished on (", request.intfId(), ", fap ", request.fapId(),
                      ", pol ", policyId, ")"));
}

void TcamSharingSemSm::doPrefetch(AradSemKeyAndFap key) const {
   key.prefetch();
   isemBTableConfig_->configCollection().prefetch(key);
   tcamSharingCommon_->semToRequestCollection().prefetch(key);
   if (isemBTableStatus_) {
      isemBTableStatus_->statusCollection().prefetch(key);
   }
}

void TcamSharingSemSm::doLeavePrevKey(TcamSharingRequest const& request, AradSemKeyAndFap prevKey) {
   ORV_ASSERT(prevKey.key().keyType() == AradSemKeyType::isemTcamSharing_,
              "prevKey.key().keyType() == AradSemKeyType::isemTcamSharing_",
              "We expect all keyTypes to be TcamSharing in this SM.");
   SHOAL_TRACE(7, configHandler, ": del prevKey: ", prevKey);
   doDropUser(prevKey, request);
   ORV_ASSERT(!tcamSharingCommon_->semToRequestHas(prevKey),
              "tcamSharingCommon()->semToRequest( prevKey ) == NULL",
              "If we are deleting a stale mapping, then ensure no request is "
              "still using it");
   // No pending write is queued for this removal, so its answer is ignored.
   isemBTableConfig_->configDel(prevKey);
}

void TcamSharingSemSm::doEnqueuePending(AradSemKeyAndFap key, bool isInsert,
                                        TcamSharingEntry const& entry) {
   tcamSharingCommon_->pendingSemWriteIs(PendingSemWriteKey{key, isInsert})
       ->pendingSharingEntryEnq(entry);
}

void TcamSharingSemSm::doDropUser(AradSemKeyAndFap key, TcamSharingRequest const& request) {
   auto users = tcamSharingCommon_->semToRequestIs(key);
   users->requestDel(request);
   if (users->requests() == 0) {
      tcamSharingCommon_->semToRequestDel(key);
   }
}

void TcamSharingSemSm::handleIsemBTableStatus(AradSemKeyAndFap const& keyAndFap) {
   SHOAL_TRACE(8, "TcamSharingSemSm::handleIsemBTableStatus: ", keyAndFap,
               ", keyType: ", static_cast<uint32_t>(keyAndFap.key().keyType()));
   SemTableStatusEntry statusEntry = isemBTableStatus_->status(keyAndFap);
   // A status entry answers a write; its absence answers a removal.
   bool statusFromPendingInsert = statusEntry != SemTableStatusEntry();
   if (SHOAL_TRACE_ON(7)) [[unlikely]] {
      SHOAL_TRACE(7, __func__, ": statusEntry: ", statusEntry);
      SHOAL_TRACE(7, __func__, ": statusFromPendingInsert: ", statusFromPendingInsert);
      SHOAL_TRACE(7, __func__, ": stored keyAndFap: ", keyAndFap);
   }
   if (ignoreIsemStatus()) {
      SHOAL_TRACE(7, __func__, ": ignoring ISEM status, breadth test only");
      return;
   }
   PendingSemWriteKey pendingKey{keyAndFap, statusFromPendingInsert};
   auto pendingSemWrite = tcamSharingCommon_->pendingSemWrite(pendingKey);
   if (!pendingSemWrite) {
      SHOAL_TRACE(7, __func__, ": response we can safely ignore");
      return;
   }
   ORV_ASSERT(pendingSemWrite->pendingSharingEntrys() != 0,
              "pendingSemWrite->pendingSharingEntrys() != 0",
              " we forgot to cleanup pendingSemWrite queue for ", keyAndFap);
   TcamSharingEntry entry = pendingSemWrite->pendingSharingEntry();
   pendingSemWrite->pendingSharingEntryDeq();
   if (pendingSemWrite->pendingSharingEntrys() == 0) {
      tcamSharingCommon_->pendingSemWriteDel(pendingKey);
   }
   SHOAL_TRACE(7, __func__, ": pendingEntry: ", entry);
   if (!statusFromPendingInsert) {
      SHOAL_TRACE(7, __func__, ": responseDel");
      tcamSharingStatus()->responseDel(entry.request());
   } else if (statusEntry.statusCode == SemTableStatusEntry::success) {
      SHOAL_TRACE(7, __func__, ": successful isem status");
      tcamSharingStatus()->responseIs(entry.request(),
                                      TcamSharingResponse{tcamSharingSuccess, entry.policyId()});
   } else {
      SHOAL_TRACE(0, __func__, ": write failure isem status");
      tcamSharingStatus()->responseIs(entry.request(),
                                      TcamSharingResponse{tcamSharingFailed, entry.policyId()});
   }
   numOfIsemBStatusHandledInc(1);
}

} // namespace Hardware::ShoalTunnel
