#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "ShoalTunnel/TcamSharing/DynamicISemData.h"

namespace Hardware::ShoalTunnel {

namespace {

constexpr uint64_t lumenMask = TcamSharingPolicyId::lumenAclLabelMask;

// The fields that acl owns on a Lumen unit.
uint64_t aclMask() {
   uint64_t mask = TcamSharingPolicyId::qosPolicyMask | TcamSharingPolicyId::pbrPolicyMask;
   return toggleDynamicISemDataEnabled() ? mask | TcamSharingPolicyId::aclLabelMask : mask;
}

// `of` in the fields of `mask`, `rest` everywhere else.
TcamSharingPolicyId overlay(TcamSharingPolicyId of, uint64_t mask, TcamSharingPolicyId rest) {
   return TcamSharingPolicyId((of.value() & mask) | (rest.value() & ~mask));
}

TcamSharingPolicyId policyOf(Orv::Ptr<TcamSharingConfig const> const& config,
                             TcamSharingRequest const& request) {
   return config ? config->request(request) : TcamSharingPolicyId();
}

} // namespace

// A macro, since the words of a trace point are the same at each hit: `handler` is a __func__.
#define SHOAL_TRACE_ENTRY(handler, request)                                                        \
   SHOAL_TRACE_SPLIT(8, ("TcamSharingMergeSm::", handler, ": request:", request),                  \
                     ("TcamSharingMergeSm::", handler, ": request(", (request).intfId(), ", fap ", \
                      (request).fapId(), ")"))

TcamSharingMergeSm::TcamSharingMergeSm(
    Orv::Ptr<TcamSharingConfig const> tcamSharingShoalAclConfig,
    Orv::Ptr<TcamSharingConfig const> tcamSharingShoalLumenConfig,
    Orv::Ptr<TcamSharingConfig const> tcamSharingShoalRampartConfig,
    Orv::Ptr<TcamSharingConfig> tcamSharingMergedConfig,
    Orv::Ptr<TcamSharingStatus> tcamSharingShoalAclStatus,
    Orv::Ptr<TcamSharingStatus> tcamSharingShoalLumenStatus,
    Orv::Ptr<TcamSharingStatus> tcamSharingShoalRampartStatus,
    Orv::Ptr<TcamSharingStatus const> tcamSharingMergedStatus,
    Orv::Ptr<Shoal::Status const> shoalStatus)
    : tcamSharingShoalAclConfig_(std::move(tcamSharingShoalAclConfig)),
      tcamSharingShoalLumenConfig_(std::move(tcamSharingShoalLumenConfig)),
      tcamSharingShoalRampartConfig_(std::move(tcamSharingShoalRampartConfig)),
      tcamSharingMergedConfig_(ORV_NOT_NULL(tcamSharingMergedConfig)),
      tcamSharingShoalAclStatus_(ORV_NOT_NULL(tcamSharingShoalAclStatus)),
      tcamSharingShoalLumenStatus_(ORV_NOT_NULL(tcamSharingShoalLumenStatus)),
      tcamSharingShoalRampartStatus_(ORV_NOT_NULL(tcamSharingShoalRampartStatus)),
      tcamSharingMergedStatus_(std::move(tcamSharingMergedStatus)),
      shoalStatus_(ORV_NOT_NULL(shoalStatus)), orvTcamSharingShoalAclConfig_(this),
      orvTcamSharingShoalLumenConfig_(this), orvTcamSharingShoalRampartConfig_(this),
      orvTcamSharingMergedStatus_(this) {
   if (tcamSharingShoalAclConfig_) {
      tcamSharingShoalAclConfig_->requestCollection().watch(orvTcamSharingShoalAclConfig_);
   }
   if (tcamSharingShoalLumenConfig_) {
      tcamSharingShoalLumenConfig_->requestCollection().watch(orvTcamSharingShoalLumenConfig_);
   }
   if (tcamSharingShoalRampartConfig_) {
      tcamSharingShoalRampartConfig_->requestCollection().watch(orvTcamSharingShoalRampartConfig_);
   }
   if (tcamSharingMergedStatus_) {
      tcamSharingMergedStatus_->responseCollection().watch(orvTcamSharingMergedStatus_);
   }
}

void TcamSharingMergeSm::handleInitialized() {
   SHOAL_TRACE(8, "TcamSharingMergeSm::handleInitialized");
   initialized_ = true;
   tcamSharingShoalAclStatus_->responseDelAll();
   tcamSharingShoalLumenStatus_->responseDelAll();
   tcamSharingShoalRampartStatus_->responseDelAll();
   if (tcamSharingShoalAclConfig_) {
      for (auto const& [request, policyId] : tcamSharingShoalAclConfig_->requestIter()) {
         handleTcamSharingShoalAclConfig(request);
      }
   }
   if (tcamSharingShoalLumenConfig_) {
      for (auto const& [request, policyId] : tcamSharingShoalLumenConfig_->requestIter()) {
         handleTcamSharingShoalLumenConfig(request);
      }
   }
   if (tcamSharingShoalRampartConfig_) {
      for (auto const& [request, policyId] : tcamSharingShoalRampartConfig_->requestIter()) {
         handleTcamSharingShoalRampartConfig(request);
      }
   }
}

void TcamSharingMergeSm::handleTcamSharingShoalAclConfig(TcamSharingRequest const& request) {
   SHOAL_TRACE_ENTRY(__func__, request);
   if (!initialized_) {
      return;
   }
   TcamSharingPolicyId policyId = policyOf(tcamSharingShoalAclConfig_, request);
   if (shoalStatus_->fapExtLkupType(request.fapId()) != Shoal::extLkupTypeLumen_) {
      // Acl owns the whole policy: replace what other requesters merged earlier.
      doPublish(request, policyId);
      return;
   }
   ORV_ASSERT(policyId.lumenAclLabel() == 0, "policyId.lumenAclLabel() == 0");
   doPublish(request, overlay(policyId, aclMask(), tcamSharingMergedConfig_->request(request)));
}

void TcamSharingMergeSm::handleTcamSharingShoalLumenConfig(TcamSharingRequest const& request) {
   SHOAL_TRACE_ENTRY(__func__, request);
   if (initialized_) {
      doMergeLumenAclLabel(__PRETTY_FUNCTION__, tcamSharingShoalLumenConfig_, request);
   }
}

void TcamSharingMergeSm::handleTcamSharingShoalRampartConfig(TcamSharingRequest const& request) {
   SHOAL_TRACE_ENTRY(__func__, request);
   if (initialized_) {
      doMergeLumenAclLabel(__PRETTY_FUNCTION__, tcamSharingShoalRampartConfig_, request);
   }
}

// Lumen and Rampart write the same field and the last handler that runs wins. A withdrawal by one
// clears the label even while the other still requests it. This is intended.
void TcamSharingMergeSm::doMergeLumenAclLabel(char const* handler,
                                              Orv::Ptr<TcamSharingConfig const> const& config,
                                              TcamSharingRequest const& request) {
   ORV_ASSERT_IN(handler, shoalStatus_->fapExtLkupType(request.fapId()) == Shoal::extLkupTypeLumen_,
                 "shoalStatus()->fapExtLkupType( request.fapId() ) == "
                 "Hardware::Shoal::extLkupTypeLumen_");
   TcamSharingPolicyId policyId = policyOf(config, request);
   ORV_ASSERT_IN(handler, policyId.pbrPolicy() == 0, "policyId.pbrPolicy() == 0");
   ORV_ASSERT_IN(handler, policyId.qosPolicy() == 0, "policyId.qosPolicy() == 0");
   doPublish(request, overlay(policyId, lumenMask, tcamSharingMergedConfig_->request(request)));
}

void TcamSharingMergeSm::doPublish(TcamSharingRequest const& request,
                                   TcamSharingPolicyId policyId) {
   if (policyId.empty()) {
      tcamSharingMergedConfig_->requestDel(request);
   } else {
      tcamSharingMergedConfig_->requestIs(request, policyId);
   }
}

// The Rampart status stays empty: the Lumen status has the outcome of the label for both
// requesters.
void TcamSharingMergeSm::handleTcamSharingStatus(TcamSharingRequest const& request) {
   SHOAL_TRACE_ENTRY(__func__, request);
   if (!initialized_) {
      return;
   }
   TcamSharingResponse response = tcamSharingMergedStatus_
                                      ? tcamSharingMergedStatus_->response(request)
                                      : TcamSharingResponse();
   if (response == TcamSharingResponse()) {
      tcamSharingShoalAclStatus_->responseDel(request);
      tcamSharingShoalLumenStatus_->responseDel(request);
      return;
   }
   if (shoalStatus_->fapExtLkupType(request.fapId()) != Shoal::extLkupTypeLumen_) {
      tcamSharingShoalAclStatus_->responseIs(request, response);
      return;
   }
   auto writePart = [&](Orv::Ptr<TcamSharingStatus> const& status, uint64_t mask) {
      TcamSharingPolicyId part(response.policyId.value() & mask);
      if (part.empty()) {
         status->responseDel(request);
      } else {
         status->responseIs(request, TcamSharingResponse{response.status, part});
      }
   };
   writePart(tcamSharingShoalAclStatus_, aclMask());
   writePart(tcamSharingShoalLumenStatus_, lumenMask);
}

#undef SHOAL_TRACE_ENTRY

} // namespace Hardware::ShoalTunnel
