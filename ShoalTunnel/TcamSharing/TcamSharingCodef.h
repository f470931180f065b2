// The intake of a pipeline. It queues merged requests whose policy differs from the output,
// processes them in time slices through its selector, retries the entries of the retry list, and
// follows changes of sub-interfaces and internal VLANs.
//
// A pipeline has one intake, one selector and one bookkeeping entity, and serves one chip
// generation. Handlers only queue requests: the slices (processBacklog) write the output. The
// exception is an interface that loses its program-in-hardware flag, its internal VLAN or its
// encapsulation: its requests are withdrawn at once.
//
// Invariants: a request is in `backlog` at most once; `notARealDelete` is true only inside the
// delete-then-add step of a slice; each index by interface has exactly the members of the
// collection that it indexes. Ready after construction. Event thread only.
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

   // Requests that wait for a slice.
   ORV_SET(backlog, TcamSharingRequest, Orv::KeyedByIndex)
   std::size_t backlogSize() const override { return backlogs(); }
   // Where the next slice resumes.
   ORV_ATTRIBUTE(bookmark, TcamSharingRequest, {})
   bool initialized() const { return initialized_; }

   // Seconds between retry passes.
   Seconds retryTimeInterval() const { return retryTimeInterval_; }
   void retryTimeIntervalIs(Seconds interval) { retryTimeInterval_ = interval; }
   Seconds nextRetry() const { return orvRetryClock_.timeMin(); }
   // Retry-list entries that went back into the backlog.
   ORV_COUNTER(numOfRetriedItems)

   // Seconds spent in handleTcamSharingConfigIn: sum, maximum, last call; and in the start.
   Seconds totalProcessTime() const { return totalProcessTime_; }
   Seconds maxLatency() const { return maxLatency_; }
   Seconds lastLatency() const { return lastLatency_; }
   Seconds startupLatency() const { return startupLatency_; }

   void handleInitialized();
   void handleTcamSharingConfigIn(TcamSharingRequest const& request);
   void handleInternalVlanChange(Plexus::IntfId const& intfId);
   void handleDot1qEncapChange(Plexus::IntfId const& subIntfId);

   // Processes one slice, at least one request, and returns how many. An exception ends the slice:
   // the request that threw is no longer in the backlog and the bookmark names the next one.
   uint32_t processBacklog(Seconds const& start) override;

   // Queues the request of the entry; false if it is queued already. Does not schedule a slice.
   bool doProcessRetryEntry(TcamSharingEntry const& entry);
   // One retry pass. Schedules a slice if something was queued, unless `noTrigger`.
   void doProcessRetryList(bool noTrigger);
   void doProcessRetryListTriggerCodef() { doProcessRetryList(false); }
   // Queues or withdraws every configured request of one interface.
   void doMaybeUpdateMappingsForIntf(Plexus::IntfId intfId);
   void doMaybeDeleteMappingsForIntf(Plexus::IntfId intfId);
   void doRecordLatency(Seconds const& start);
   // Whether the indices by interface match the collections that they index. For tests.
   bool indicesEqualWalks() const {
      return configByIntf_.equalsWalk() && isemMappingByIntf_.equalsWalk() &&
             vsiMappingByIntf_.equalsWalk();
   }

 private:
   class ReadAhead;
   class OrvRetryClock;
   class OrvSubIntfStatus;
   using OrvTcamSharingConfigIn = Orv::ReactorFor<&TcamSharingCodef::handleTcamSharingConfigIn>;
   using OrvIntfVlanIdTable = Orv::ReactorFor<&TcamSharingCodef::handleInternalVlanChange>;
   using OrvSubIntfDot1qEncapChange = Orv::ReactorFor<&TcamSharingCodef::handleDot1qEncapChange>;
   void handleSubIntfStatusDir(Plexus::IntfId const& intfId);
   using OrvSubIntfStatusDir = Orv::ReactorFor<&TcamSharingCodef::handleSubIntfStatusDir>;

   // One reactor per sub-interface status.
   void subIntfStatusIs(Orv::Ptr<Interface::SubIntfStatus const> const& status);
   void subIntfStatusDel(Plexus::IntfId intfId);

   void doProcessRequest(TcamSharingRequest const& request);
   void doRequeue(TcamSharingRequest const& request);
   void doTriggerDispatch() { clockNotifiee().timeMinIs(0.0); }
   void doHandleEncapAdded(Plexus::IntfId subIntfId, Shoal::FapId parentFap,
                           Bridging::Dot1qEncap dot1qEncap);
   void doHandleEncapRemoved(Plexus::IntfId subIntfId, Shoal::FapId parentFap);
   // The configured requests of one interface on one unit, or on all units if `fapId` is null.
   std::vector<TcamSharingRequest> requestsOf(Plexus::IntfId intfId, Shoal::FapId fapId = {}) const;

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

   // Interface -> its requests, so that the cost of a change depends on that interface only.
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

template<class... Args>
Orv::Ptr<TcamSharingCodef> tcamSharingCodefFactory(Args&&... args) {
   return Orv::make<TcamSharingCodef>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
