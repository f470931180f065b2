#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCodefSubIntf.h"

#include <algorithm>
#include <iterator>

namespace Hardware::ShoalTunnel {

TcamSharingCodef::TcamSharingCodef(Orv::Ptr<Orv::Clock const> clock,
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
                                   Orv::Ptr<TcamSharingStatus> tcamSharingStatus)
    : CodefBase(ORV_NOT_NULL(clock)), tcamSharingConfigIn_(ORV_NOT_NULL(tcamSharingConfigIn)),
      intfVlanIdTable_(ORV_NOT_NULL(intfVlanIdTable)),
      tcamSharingCommon_(ORV_NOT_NULL(tcamSharingCommon)),
      subIntfDot1qEncapChange_(ORV_NOT_NULL(subIntfDot1qEncapChange)),
      shoalStatus_(ORV_NOT_NULL(shoalStatus)), subIntfConfigDir_(ORV_NOT_NULL(subIntfConfigDir)),
      subIntfStatusDir_(ORV_NOT_NULL(subIntfStatusDir)),
      tcamSharingHelper_(ORV_NOT_NULL(tcamSharingHelper)),
      tcamSharingSelector_(ORV_NOT_NULL(tcamSharingSelector)),
      tcamSharingStatus_(ORV_NOT_NULL(tcamSharingStatus)),
      configByIntf_(tcamSharingConfigIn_->requestCollection()),
      isemMappingByIntf_(tcamSharingCommon_->tcamRequestToIsemKeyMappingCollection()),
      vsiMappingByIntf_(tcamSharingCommon_->tcamRequestToVlanTagToVsiKeyMappingCollection()),
      orvRetryClock_(this, ORV_NOT_NULL(retryClock)), orvTcamSharingConfigIn_(this),
      orvIntfVlanIdTable_(this), orvSubIntfDot1qEncapChange_(this), orvSubIntfStatusDir_(this) {
   tcamSharingConfigIn_->requestCollection().watch(orvTcamSharingConfigIn_);
   intfVlanIdTable_->internalVlanIdCollection().watch(orvIntfVlanIdTable_);
   subIntfDot1qEncapChange_->dot1qEncapCollection().watch(orvSubIntfDot1qEncapChange_);
   subIntfStatusDir_->subIntfStatusCollection().watch(orvSubIntfStatusDir_);
   backlogQuantumIs(0.1);
   handleInitialized();
   for (auto const& [intfId, status] : subIntfStatusDir_->subIntfStatusIter()) {
      subIntfStatusIs(status);
   }
   orvRetryClock_.timeMinIs(Orv::System::currentTime() + retryTimeInterval_);
}

TcamSharingCodef::~TcamSharingCodef() = default;

void TcamSharingCodef::handleInitialized() {
   ORV_ASSERT(!initialized_, "!initialized()");
   initialized_ = true;
   Seconds start = Orv::System::currentTime();
   tcamSharingStatus_->responseDelAll();
   for (auto const& [request, policyId] : tcamSharingConfigIn_->requestIter()) {
      handleTcamSharingConfigIn(request);
   }
   startupLatency_ = Orv::System::currentTime() - start;
}

void TcamSharingCodef::handleTcamSharingConfigIn(TcamSharingRequest const& request) {
   SHOAL_TRACE(8, "TcamSharingCodef::", __func__, ": request:", request);
   // Reading the time waits for all reads before it, but not for hints.
   tcamSharingSelector_->prefetch(request);
   backlogCollection().prefetch(request);
   Seconds start = Orv::System::currentTime();
   updatesSeenInc(1);
   TcamSharingPolicyId inStatus = tcamSharingConfigIn_->request(request);
   TcamSharingPolicyId outStatus = tcamSharingSelector_->getRequest(request);
   if (SHOAL_TRACE_ON(7)) [[unlikely]] {
      SHOAL_TRACE(7, __func__, ": inStatus: ", inStatus);
      SHOAL_TRACE(7, __func__, ": outStatus: ", outStatus);
   }
   if (inStatus == outStatus) {
      SHOAL_TRACE(7, __func__, ": Nothing to be done for ", request);
   } else if (backlog(request)) {
      // Already queued: the slice will read the latest configuration.
      if (inStatus.empty()) {
         SHOAL_TRACE(8, __func__, ": Got a delete for ", request,
                     " before backlog processed previous create.");
      } else {
         SHOAL_TRACE(8, __func__, ": Got a create for ", request,
                     " before backlog processed the delete");
      }
   } else {
      SHOAL_TRACE(8, __func__, ": Adding ", request, " to backlog");
      backlogIs(request, true);
   }
   doTriggerDispatch();
   doRecordLatency(start);
}

// Hints at what the next requests of the backlog are going to read, so that their cache misses
// overlap with the work on those before them. Each step reads only what was hinted at a step
// before. The backlog may change meanwhile: then some hints are useless.
class TcamSharingCodef::ReadAhead {
 public:
   explicit ReadAhead(TcamSharingCodef const& codef) : codef_(codef) {}

   void step(TcamSharingRequest const& present) {
      bool begins = ahead_[0] == none;
      for (std::size_t steps = begins ? std::size(ahead_) : 1; steps > 0; --steps) {
         auto next = codef_.backlogCollection().following(ahead_[0] == none ? present : ahead_[0]);
         std::shift_right(std::begin(ahead_), std::end(ahead_), 1);
         ahead_[0] = next.value_or(none);
         codef_.backlogCollection().prefetch(ahead_[0]);
         hintAtTables(ahead_[1]);
         hintAtIntf(ahead_[2]);
         codef_.tcamSharingHelper_->prefetchEncap(ahead_[3].intfId());
      }
   }

 private:
   void hintAtTables(TcamSharingRequest const& request) const {
      request.prefetch();
      codef_.tcamSharingConfigIn_->requestCollection().prefetch(request);
      codef_.tcamSharingSelector_->prefetch(request);
      codef_.tcamSharingStatus_->responseCollection().prefetch(request);
      auto const& common = *codef_.tcamSharingCommon_;
      common.tcamRequestToIsemKeyMappingCollection().prefetch(request);
      common.tcamRequestToVlanTagToVsiKeyMappingCollection().prefetch(request);
   }
   void hintAtIntf(TcamSharingRequest& request) const {
      if (codef_.tcamSharingConfigIn_->requestHas(request)) {
         codef_.tcamSharingHelper_->prefetchIntf(request.intfId());
      } else {
         request = none; // a withdrawal does not look up the interface
      }
   }

   static constexpr TcamSharingRequest none{};
   TcamSharingCodef const& codef_;
   TcamSharingRequest ahead_[4]; // the furthest first
};

uint32_t TcamSharingCodef::processBacklog(Seconds const& start) {
   SHOAL_TRACE(8, "TcamSharingCodef::processBacklog");
   Seconds stop = start + backlogQuantum();
   uint32_t processed = 0;
   using Cursor = std::remove_cvref_t<decltype(backlogCollection())>::Cursor;
   Cursor cursor(backlogCollection(), Cursor::unbounded);
   cursor.toKey(bookmark());
   ReadAhead readAhead(*this);
   while (backlogSize() > 0) {
      if (cursor.atEnd()) {
         cursor.toFirst();
      }
      TcamSharingRequest request = *cursor.peekKey();
      readAhead.step(request);
      Seconds now = Orv::System::currentTime();
      if (processed > 0 && now >= stop) {
         SHOAL_TRACE(7, __func__, ": Yielding backlog processing at ", request);
         bookmarkIs(request);
         return processed;
      }
      SHOAL_TRACE(7, __func__, ": Backlog processing ", request);
      backlogDel(request); // which moves the cursor on
      ++processed;
      try {
         doProcessRequest(request);
      } catch (...) {
         workedBeforeExceptionIs(processed);
         if (cursor.atEnd()) {
            cursor.toFirst();
         }
         bookmarkIs(cursor.peekKey().value_or(TcamSharingRequest()));
         throw;
      }
   }
   SHOAL_TRACE(7, __func__, ": Backlog processing done. Processed ", processed, " items");
   return processed;
}

void TcamSharingCodef::doProcessRequest(TcamSharingRequest const& request) {
   static constexpr char const* step = "processBacklog";
   TcamSharingPolicyId inStatus = tcamSharingConfigIn_->request(request);
   TcamSharingPolicyId outStatus = tcamSharingSelector_->getRequest(request);
   if (SHOAL_TRACE_ON(7)) [[unlikely]] {
      SHOAL_TRACE(7, step, ": inStatus: ", inStatus);
      SHOAL_TRACE(7, step, ": outStatus: ", outStatus);
   }
   TcamSharingEntry entry(request, outStatus);
   if (tcamSharingCommon_->retryList(entry)) {
      SHOAL_TRACE(
          7, step,
          ": Deleting an item that is on the retryList, but has not been retried yet: ", entry);
      tcamSharingCommon_->retryListDel(entry);
   }
   if (inStatus == outStatus && inStatus.empty()) {
      tcamSharingStatus_->responseDel(request);
   } else if (inStatus == outStatus) {
      // The same policy after a failure or an interface change: program it again.
      ORV_ASSERT(!tcamSharingCommon_->notARealDelete(), "!tcamSharingCommon()->notARealDelete()");
      auto addAgain = [&] {
         tcamSharingCommon_->notARealDeleteIs(false);
         tcamSharingSelector_->addRequest(request, tcamSharingConfigIn_->request(request));
      };
      tcamSharingCommon_->notARealDeleteIs(true);
      try {
         tcamSharingSelector_->delRequest(request);
      } catch (...) {
         // Nothing was removed from hardware, so the output has to keep the request.
         addAgain();
         throw;
      }
      addAgain();
   } else if (inStatus.empty()) {
      SHOAL_TRACE(7, step, ": Deleting ", request, " from output");
      tcamSharingSelector_->delRequest(request);
   } else {
      SHOAL_TRACE(7, step, ": Adding ", request, " to output");
      tcamSharingSelector_->addRequest(request, tcamSharingConfigIn_->request(request));
   }
}

bool TcamSharingCodef::doProcessRetryEntry(TcamSharingEntry const& entry) {
   TcamSharingRequest request = entry.request();
   if (backlog(request)) {
      SHOAL_TRACE(7, __func__, ": already in backlog, nothing to do for ", entry);
      return false;
   }
   SHOAL_TRACE(7, __func__, ": processing retryEntry: ", entry);
   if (tcamSharingCommon_->retryList(entry)) {
      SHOAL_TRACE(7, __func__,
                  ": Deleting an item that is obsolete, but has not been retried yet: ", entry);
      tcamSharingCommon_->retryListDel(entry);
   }
   backlogIs(request, true);
   return true;
}

void TcamSharingCodef::doProcessRetryList(bool noTrigger) {
   SHOAL_TRACE(9, "TcamSharingCodef::", __func__,
               ": size: ", static_cast<uint64_t>(tcamSharingCommon_->retryLists()),
               " -------------------------------");
   bool queued = false;
   for (auto const& [entry, waiting] : tcamSharingCommon_->retryListIter()) {
      TcamSharingRequest request = entry.request();
      TcamSharingPolicyId inStatus = tcamSharingConfigIn_->request(request);
      TcamSharingPolicyId outStatus = tcamSharingSelector_->getRequest(request);
      SHOAL_TRACE_SPLIT(7, (__func__, ": retryEntry: ", entry),
                        (__func__, ": retryEntry: ", entry, " inStatus ", inStatus, " outStatus ",
                         outStatus, " inBacklog ", backlogHas(request)));
      tcamSharingCommon_->retryListDel(entry);
      if (inStatus.empty()) {
         continue;
      }
      if (doProcessRetryEntry(entry)) {
         numOfRetriedItemsInc(1);
         SHOAL_TRACE(7, __func__, ": retrying entry: ", entry);
         queued = true;
      }
   }
   if (!noTrigger && queued) {
      doTriggerDispatch();
   }
   orvRetryClock_.timeMinIs(Orv::System::currentTime() + retryTimeInterval_);
}

void TcamSharingCodef::doRecordLatency(Seconds const& start) {
   Seconds latency = Orv::System::currentTime() - start;
   totalProcessTime_ += latency;
   lastLatency_ = latency;
   maxLatency_ = std::max(maxLatency_, latency);
}

} // namespace Hardware::ShoalTunnel
