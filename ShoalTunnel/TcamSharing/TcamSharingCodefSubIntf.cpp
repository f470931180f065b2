// How the intake follows interfaces: sub-interface flags and encapsulations, internal VLANs.
#include "ShoalTunnel/TcamSharing/TcamSharingCodefSubIntf.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

using Bridging::Dot1qEncap;
using Plexus::IntfId;
using Shoal::FapId;

void TcamSharingCodef::OrvSubIntfStatus::handleProgramInHw() {
   SHOAL_TRACE(8, "handleProgramInHw", ": intfId: ", status_->intfId(),
               ", programInHw: ", status_->programInHw());
   if (status_->programInHw()) {
      codef_->doMaybeUpdateMappingsForIntf(status_->intfId());
   } else {
      codef_->doMaybeDeleteMappingsForIntf(status_->intfId());
   }
}

void TcamSharingCodef::handleSubIntfStatusDir(IntfId const& intfId) {
   if (auto status = subIntfStatusDir_->subIntfStatus(intfId)) {
      subIntfStatusIs(status);
   } else {
      subIntfStatusDel(intfId);
   }
}

void TcamSharingCodef::subIntfStatusIs(Orv::Ptr<Interface::SubIntfStatus const> const& status) {
   // A status that appears is watched from then on; its flag acts when it changes.
   subIntfStatus_.set(status->intfId(), Orv::make<OrvSubIntfStatus>(this, status));
}

void TcamSharingCodef::subIntfStatusDel(IntfId intfId) {
   subIntfStatus_.del(intfId);
}

std::vector<TcamSharingRequest> TcamSharingCodef::requestsOf(IntfId intfId, FapId fapId) const {
   auto requests = configByIntf_.members(intfId);
   if (!fapId.isNull()) {
      std::erase_if(requests, [&](TcamSharingRequest request) { return request.fapId() != fapId; });
   }
   return requests;
}

void TcamSharingCodef::doRequeue(TcamSharingRequest const& request) {
   doProcessRetryEntry(TcamSharingEntry(request, tcamSharingConfigIn_->request(request)));
   doTriggerDispatch();
}

void TcamSharingCodef::doMaybeUpdateMappingsForIntf(IntfId intfId) {
   for (TcamSharingRequest request : requestsOf(intfId)) {
      if (tcamSharingConfigIn_->requestHas(request)) {
         SHOAL_TRACE(7, __func__, ": update mapping for: ", intfId,
                     ", on fapId: ", request.fapId());
         doRequeue(request);
      }
   }
}

void TcamSharingCodef::doMaybeDeleteMappingsForIntf(IntfId intfId) {
   for (TcamSharingRequest request : requestsOf(intfId)) {
      if (tcamSharingConfigIn_->requestHas(request)) {
         SHOAL_TRACE(7, __func__, ": del mapping for: ", intfId, ", on fapId: ", request.fapId());
         tcamSharingSelector_->delRequest(request);
      }
   }
}

void TcamSharingCodef::handleInternalVlanChange(IntfId const& intfId) {
   bool add = intfVlanIdTable_->internalVlanId(intfId).value() != 0;
   // The class word of this line differs from the class's name, as operators know it.
   SHOAL_TRACE(8, "TcamSharingSm::", __func__, ": intfId: ", intfId, ", add:", add);
   if (add) {
      for (TcamSharingRequest request : requestsOf(intfId)) {
         if (tcamSharingConfigIn_->requestHas(request)) {
            doRequeue(request);
         }
      }
      return;
   }
   for (TcamSharingRequest request : isemMappingByIntf_.members(intfId)) {
      if (tcamSharingCommon_->tcamRequestToIsemKeyMappingHas(request)) {
         SHOAL_TRACE(7, __func__, ": deleting key: ", request);
         tcamSharingSelector_->delRequest(request);
      }
   }
   for (TcamSharingRequest request : vsiMappingByIntf_.members(intfId)) {
      if (tcamSharingCommon_->tcamRequestToVlanTagToVsiKeyMappingHas(request)) {
         SHOAL_TRACE(7, __func__, ": deleting key: ", request);
         tcamSharingSelector_->delRequest(request);
      }
   }
}

// A sub-interface's encapsulation was added, changed or removed. "Requests" are the configured ones
// of the sub-interface: those on the parent's unit or, where no single unit is known (a
// port-channel, whose members may sit on several; a port that is gone), all of them. Withdrawals
// are immediate, re-queued requests wait for a slice.
//
//  unit   encapsulation   configuration    VLAN domain | trace                        | requests
//  -----  --------------  ---------------  ------------+------------------------------+-----------
//  found  added, changed  any              any         | updating dot1qEncap          | re-queued
//  none   added, changed  any              there       | parentFap not found,         | re-queued
//                                                      |  updating dot1qEncap         |
//  none   added, changed  any              missing     | parentFap not found,         | re-queued
//                                                      |  vlanDomain not found,       |  (1)
//                                                      |  updating dot1qEncap         |
//  any    removed         any              any         | dont care removal            | has none
//  any    removed         missing          any         | config does not exist,       | withdrawn
//                                                      |  t-removing intf             |
//  any    removed         still has tags   any         | not disable encap, no action | kept (2)
//  any    removed         without tags     there       | parent vlanDomain is still   | kept
//                                                      |  here                        |
//  any    removed         without tags     missing     | vlanDomain not found,        | withdrawn
//                                                      |  d-removing intf             |
//
// With no unit found, removals trace "parentFap not found" as well. The VLAN domain is asked for
// each request's own unit.
// (1) The programming machine puts it on the retry list, from where it follows the domain; if it
//     were withdrawn here, nothing would bring it back when the domain comes.
// (2) Only the record of the change went; the configured encapsulation still stands.
void TcamSharingCodef::handleDot1qEncapChange(IntfId const& subIntfId) {
   ORV_ASSERT(subIntfId != IntfId(), "subIntfId != Plexus::IntfId()");
   SHOAL_TRACE(8, "TcamSharingCodef::", __func__, ": intfId: ", subIntfId);
   // A record without tags counts, too: only its absence is a removal.
   bool add = subIntfDot1qEncapChange_->dot1qEncapHas(subIntfId);
   Dot1qEncap dot1qEncap = subIntfDot1qEncapChange_->dot1qEncap(subIntfId);
   SHOAL_TRACE(7, __func__, ": dot1qEncap: ", dot1qEncap, ", add: ", add);
   IntfId parentIntfId = Plexus::SubIntfId::parentIntfId(subIntfId);
   SHOAL_TRACE(7, __func__, ": parentIntfId: ", parentIntfId);
   FapId parentFap = tcamSharingHelper_->getParentFapId(parentIntfId);
   if (parentFap.isNull()) {
      SHOAL_TRACE(7, __func__, ": parentFap not found: add: ", add, ", fapId: ", parentFap);
   }
   if (add) {
      doHandleEncapAdded(subIntfId, parentFap, dot1qEncap);
   } else {
      doHandleEncapRemoved(subIntfId, parentFap);
   }
}

void TcamSharingCodef::doHandleEncapAdded(IntfId subIntfId, FapId parentFap,
                                          Dot1qEncap dot1qEncap) {
   static constexpr char const* handler = "handleDot1qEncapChange";
   for (TcamSharingRequest request : requestsOf(subIntfId, parentFap)) {
      if (!tcamSharingConfigIn_->requestHas(request)) {
         continue;
      }
      if (parentFap.isNull() &&
          !tcamSharingHelper_->getVlanDomainForIntf(subIntfId, request.fapId())) {
         SHOAL_TRACE(7, handler, ": vlanDomain not found for intf ", subIntfId,
                     ", on fapId: ", request.fapId());
      }
      SHOAL_TRACE(7, handler, ": updating dot1qEncap: ", dot1qEncap);
      doRequeue(request);
   }
}

void TcamSharingCodef::doHandleEncapRemoved(IntfId subIntfId, FapId parentFap) {
   static constexpr char const* handler = "handleDot1qEncapChange";
   auto requests = requestsOf(subIntfId, parentFap);
   if (requests.empty()) {
      SHOAL_TRACE(7, handler, ": dont care removal");
      return;
   }
   auto config = subIntfConfigDir_->subIntfConfig(subIntfId);
   if (!config) {
      SHOAL_TRACE(7, handler, ": config does not exist: ", subIntfId);
      for (TcamSharingRequest request : requests) {
         if (tcamSharingConfigIn_->requestHas(request)) {
            SHOAL_TRACE(7, handler, ": t-removing intf: ", subIntfId);
            tcamSharingSelector_->delRequest(request);
         }
      }
      return;
   }
   if (!config->dot1qEncap().isZero()) {
      SHOAL_TRACE_SPLIT(7, (handler, ": not disable encap, no action."),
                        (handler, ": not disable encap, no action"));
      return;
   }
   for (TcamSharingRequest request : requests) {
      if (!tcamSharingConfigIn_->requestHas(request)) {
         continue;
      }
      if (auto domain = tcamSharingHelper_->getVlanDomainForIntf(subIntfId, request.fapId())) {
         SHOAL_TRACE(7, handler, ": parent vlanDomain is still here: ", *domain);
         continue;
      }
      SHOAL_TRACE(7, handler, ": vlanDomain not found for intf ", subIntfId,
                  ", on fapId: ", request.fapId());
      SHOAL_TRACE(7, handler, ": d-removing intf: ", subIntfId, ", fap: ", request.fapId());
      tcamSharingSelector_->delRequest(request);
   }
}

} // namespace Hardware::ShoalTunnel
