// The intake of a pipeline: notes merged requests whose policy differs from the output's, works
// them off in time slices through its selector, retries what could not be programmed, and follows
// sub-interface and internal VLAN changes.
//
// A pipeline has one intake with one selector and one bookkeeping entity; units of the two chip
// generations never meet in one pipeline. Intake only marks and schedules: output is written in the
// slices (processBacklog), except for the immediate withdrawals of an interface that lost its flag,
// its VLAN or its encapsulation.
//
// Invariants: a request is in `backlog` at most once; `notARealDelete` is true only inside the
// delete-then-add step of a slice; the indices by interface hold exactly the members of what they
// index. Usable from construction. Event thread only.
#pragma once

#include "platform/Keel/CodefBase.h"
#include "platform/Orv/GroupIndex.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCommon.h"
#include "ShoalTunnel/TcamSharing/TcamSharingConfig.h"
#include "ShoalTunnel/TcamSharing/TcamSharingHelper.h"
#include "ShoalTunnel/TcamSharing/TcamSharingSelector.h"

namespace Hardware::ShoalTunnel {

using Orv::Seconds;

class TCAM_SHARING_EXPORT TcamSharingCodef : public Keel::CodefBase {
 public:
   TcamSharingCodef(Orv::Ptr<Orv::Clock const> clock,
                    Orv::Ptr<TcamSharingConfig const> tcamSharingConfigIn,
                    Orv::Ptr<Orv::Clock const> retryClock,
                    Orv::Ptr<IntfVlanId::Table const> intfVlanIdTable,
                    Orv::Ptr<TcamSharingCommonBase> tcamSharingCommon,
                    Orv::Ptr<SubIntfDot1qEncapChange const> subIntfDot1qEncapChange,
                    Orv::Ptr<Shoal::Status const> shoalStatus,
                    Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
                    Orv::Ptr<Interface::SubIntfStatusDir const> subIntfStatusDir,
                    Orv::Ptr<TcamSharingHelper> tcamSharingHelper,
                    Orv::Ptr<TcamSharingSelector> tcamSharingSelector,
                    Orv::Ptr<TcamSharingStatus> tcamSharingStatus);
   ~TcamSharingCodef() override;

   // Requests waiting to be worked.
   ORV_SET(backlog, TcamSharingRequest, Orv::KeyedByIndex)
   std::size_t backlogSize() const override { return backlogs(); }
   // Where the next slice resumes.
   ORV_ATTRIBUTE(bookmark, TcamSharingRequest, {})
   bool initialized() const { return initialized_; }

   // Seconds between retry passes.
   Seconds retryTimeInterval() const { return retryTimeInterval_; }
   void retryTimeIntervalIs(Seconds interval) { retryTimeInterval_ = interval; }
   Seconds nextRetry() const { return orvRetryClock_.timeMin(); }
   // Retry-list entries put back into the backlog.
   ORV_COUNTER(numOfRetriedItems)

   // Seconds spent on noting changes: in all, at most, last, and at start.
   Seconds totalProcessTime() const { return totalProcessTime_; }
   Seconds maxLatency() const { return maxLatency_; }
   Seconds lastLatency() const { return lastLatency_; }
   Seconds startupLatency() const { return startupLatency_; }

   void handleInitialized();
   void handleTcamSharingConfigIn(TcamSharingRequest const& request);
   void handleInternalVlanChange(Plexus::IntfId const& intfId);
   void handleDot1qEncapChange(Plexus::IntfId const& subIntfId);

   // Works one slice, at least one request of it; returns how many. What a request's programming
   // throws ends the slice: the request is out of the backlog, the bookmark names the next one.
   uint32_t processBacklog(Seconds const& start) override;

   // Queues the entry's request unless it is queued; true when it queued it. Asks for no slice.
   bool doProcessRetryEntry(TcamSharingEntry const& entry);
   // One retry pass; asks for a slice when something was queued, unless `noTrigger`.
   void doProcessRetryList(bool noTrigger);
   void doProcessRetryListTriggerCodef() { doProcessRetryList(false); }
   // Re-queues, respectively withdraws, every configured request of one interface.
   void doMaybeUpdateMappingsForIntf(Plexus::IntfId intfId);
   void doMaybeDeleteMappingsForIntf(Plexus::IntfId intfId);
   void doRecordLatency(Seconds const& start);
   // Whether the indices by interface equal walks of what they index. For checks.
   bool indicesEqualWalks() const {
      return configByIntf_.equalsWalk() && isemMappingByIntf_.equalsWalk() &&
             vsiMappingByIntf_.equalsWalk();
   }

 private:
   class OrvRetryClock;
   class OrvSubIntfStatus;
   using OrvTcamSharingConfigIn = Orv::ReactorFor<&TcamSharingCodef::handleTcamSharingConfigIn>;
   using OrvIntfVlanIdTable = Orv::ReactorFor<&TcamSharingCodef::handleInternalVlanChange>;
   using OrvSubIntfDot1qEncapChange = Orv::ReactorFor<&TcamSharingCodef::handleDot1qEncapChange>;
   void handleSubIntfStatusDir(Plexus::IntfId const& intfId);
   using OrvSubIntfStatusDir = Orv::ReactorFor<&TcamSharingCodef::handleSubIntfStatusDir>;

   // The reactors per sub-interface status.
   void subIntfStatusIs(Orv::Ptr<Interface::SubIntfStatus const> const& status);
   void subIntfStatusDel(Plexus::IntfId intfId);

   void doProcessRequest(TcamSharingRequest const& request);
   void doRequeue(TcamSharingRequest const& request);
   void doTriggerDispatch() { clockNotifiee().timeMinIs(0.0); }
   void doHandleEncapAdded(Plexus::IntfId subIntfId, Shoal::FapId parentFap,
                           Bridging::Dot1qEncap dot1qEncap);
   void doHandleEncapRemoved(Plexus::IntfId subIntfId, Shoal::FapId parentFap);
   // The configured requests of one interface, on one unit or (null unit) on all.
   std::vector<TcamSharingRequest> requestsOf(Plexus::IntfId intfId, Shoal::FapId fapId = {}) const;

   // Given at construction.
   Orv::Ptr<TcamSharingConfig const> tcamSharingConfigIn_;
   Orv::Ptr<IntfVlanId::Table const> intfVlanIdTable_;
   Orv::Ptr<TcamSharingCommonBase> tcamSharingCommon_;
   Orv::Ptr<SubIntfDot1qEncapChange const> subIntfDot1qEncapChange_;
   Orv::Ptr<Shoal::Status const> shoalStatus_;
   Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir_;
   Orv::Ptr<Interface::SubIntfStatusDir const> subIntfStatusDir_;
   Orv::Ptr<TcamSharingHelper> tcamSharingHelper_;
   Orv::Ptr<TcamSharingSelector> tcamSharingSelector_;
   Orv::Ptr<TcamSharingStatus> tcamSharingStatus_;

   bool initialized_ = false;
   Seconds retryTimeInterval_ = 2.0;
   Seconds totalProcessTime_ = 0.0;
   Seconds maxLatency_ = 0.0;
   Seconds lastLatency_ = 0.0;
   Seconds startupLatency_ = 0.0;

   // Requests by interface, so that an interface's change costs what the interface has.
   template<class Of>
   using ByIntf = Orv::GroupIndex<TcamSharingRequest, Of, &TcamSharingRequest::intfId>;
   ByIntf<std::remove_cvref_t<decltype(tcamSharingConfigIn_->requestCollection())>> configByIntf_;
   ByIntf<
       std::remove_cvref_t<decltype(tcamSharingCommon_->tcamRequestToIsemKeyMappingCollection())>>
       isemMappingByIntf_;
   ByIntf<std::remove_cvref_t<
       decltype(tcamSharingCommon_->tcamRequestToVlanTagToVsiKeyMappingCollection())>>
       vsiMappingByIntf_;

   class TCAM_SHARING_EXPORT OrvRetryClock : public Orv::ClockNotifiee {
    public:
      OrvRetryClock(TcamSharingCodef* codef, Orv::Ptr<Orv::Clock const> clock)
          : ClockNotifiee(std::move(clock)), codef_(codef) {}
      void handleTime() override { codef_->doProcessRetryListTriggerCodef(); }

    private:
      TcamSharingCodef* codef_;
   };
   OrvRetryClock orvRetryClock_;
   OrvTcamSharingConfigIn orvTcamSharingConfigIn_;
   OrvIntfVlanIdTable orvIntfVlanIdTable_;
   OrvSubIntfDot1qEncapChange orvSubIntfDot1qEncapChange_;
   OrvSubIntfStatusDir orvSubIntfStatusDir_;
   Orv::KeyedByIndex<Plexus::IntfId, Orv::Ptr<OrvSubIntfStatus>> subIntfStatus_;
};

// The twelve arguments of the constructor.
template<class... Args>
Orv::Ptr<TcamSharingCodef> tcamSharingCodefFactory(Args&&... args) {
   return Orv::make<TcamSharingCodef>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
