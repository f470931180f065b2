#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCodefSubIntf.h"

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
   TRACE(8, "TcamSharingCodef::", __func__, ": request:", request);
   Seconds start = Orv::System::currentTime();
   updatesSeenInc(1);
   TcamSharingPolicyId inStatus = tcamSharingConfigIn_->request(request);
   TcamSharingPolicyId outStatus = tcamSharingSelector_->getRequest(request);
   if (TRACE_ON(7)) [[unlikely]] {
      TRACE(7, __func__, ": inStatus: ", inStatus);
      TRACE(7, __func__, ": outStatus: ", outStatus);
   }
   if (inStatus == outStatus) {
      TRACE(7, __func__, ": Nothing to be done for ", request);
   } else if (backlog(request)) {
      // Coalesced: the slice reads whatever is configured by then.
      if (inStatus.empty()) {
         TRACE(8, __func__, ": Got a delete for ", request,
               " before backlog processed previous create.");
      } else {
         TRACE(8, __func__, ": Got a create for ", request, " before backlog processed the delete");
      }
   } else {
      TRACE(8, __func__, ": Adding ", request, " to backlog");
      backlogIs(request, true);
   }
   doTriggerDispatch();
   doRecordLatency(start);
}

uint32_t TcamSharingCodef::processBacklog(Seconds const& start) {
   TRACE(8, "TcamSharingCodef::processBacklog");
   Seconds stop = start + backlogQuantum();
   uint32_t processed = 0;
   using Cursor = std::remove_cvref_t<decltype(backlogCollection())>::Cursor;
   Cursor cursor(backlogCollection(), Cursor::unbounded);
   cursor.toKey(bookmark());
   while (backlogSize() > 0) {
      if (cursor.atEnd()) {
         cursor.toFirst();
      }
      TcamSharingRequest request = *cursor.peekKey();
      Seconds now = Orv::System::currentTime();
      if (processed > 0 && now >= stop) {
         TRACE(7, __func__, ": Yielding backlog processing at ", request);
         bookmarkIs(request);
         return processed;
      }
      TRACE(7, __func__, ": Backlog processing ", request);
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
   TRACE(7, __func__, ": Backlog processing done. Processed ", processed, " items");
   return processed;
}

void TcamSharingCodef::doProcessRequest(TcamSharingRequest const& request) {
   static constexpr char const* step = "processBacklog";
   TcamSharingPolicyId inStatus = tcamSharingConfigIn_->request(request);
   TcamSharingPolicyId outStatus = tcamSharingSelector_->getRequest(request);
   if (TRACE_ON(7)) [[unlikely]] {
      TRACE(7, step, ": inStatus: ", inStatus);
      TRACE(7, step, ": outStatus: ", outStatus);
   }
   TcamSharingEntry entry(request, outStatus);
   if (tcamSharingCommon_->retryList(entry)) {
      TRACE(7, step,
            ": Deleting an item that is on the retryList, but has not been retried yet: ", entry);
      tcamSharingCommon_->retryListDel(entry);
   }
   if (inStatus == outStatus && inStatus.empty()) {
      tcamSharingStatus_->responseDel(request);
   } else if (inStatus == outStatus) {
      // The same policy again, after a failure or an interface change: programmed anew.
      ORV_ASSERT(!tcamSharingCommon_->notARealDelete(), "!tcamSharingCommon()->notARealDelete()");
      auto addAgain = [&] {
         tcamSharingCommon_->notARealDeleteIs(false);
         tcamSharingSelector_->addRequest(request, tcamSharingConfigIn_->request(request));
      };
      tcamSharingCommon_->notARealDeleteIs(true);
      try {
         tcamSharingSelector_->delRequest(request);
      } catch (...) {
         // Nothing was taken out of hardware: the output has to go on naming the request.
         addAgain();
         throw;
      }
      addAgain();
   } else if (inStatus.empty()) {
      TRACE(7, step, ": Deleting ", request, " from output");
      tcamSharingSelector_->delRequest(request);
   } else {
      TRACE(7, step, ": Adding ", request, " to output");
      tcamSharingSelector_->addRequest(request, tcamSharingConfigIn_->request(request));
   }
}

bool TcamSharingCodef::doProcessRetryEntry(TcamSharingEntry const& entry) {
   TcamSharingRequest request = entry.request();
   if (backlog(request)) {
      TRACE(7, __func__, ": already in backlog, nothing to do for ", entry);
      return false;
   }
   TRACE(7, __func__, ": processing retryEntry: ", entry);
   if (tcamSharingCommon_->retryList(entry)) {
      TRACE(7, __func__,
            ": Deleting an item that is obsolete, but has not been retried yet: ", entry);
      tcamSharingCommon_->retryListDel(entry);
   }
   backlogIs(request, true);
   return true;
}

void TcamSharingCodef::doProcessRetryList(bool noTrigger) {
   TRACE(9, "TcamSharingCodef::", __func__,
         ": size: ", static_cast<uint64_t>(tcamSharingCommon_->retryLists()),
         " -------------------------------");
   bool queued = false;
   for (auto const& [entry, waiting] : tcamSharingCommon_->retryListIter()) {
      TcamSharingRequest request = entry.request();
      TcamSharingPolicyId inStatus = tcamSharingConfigIn_->request(request);
      TcamSharingPolicyId outStatus = tcamSharingSelector_->getRequest(request);
      TRACE_SPLIT(7, TEXT(__func__, ": retryEntry: ", entry),
                  BLIP(__func__, ": retryEntry: ", entry, " inStatus ", inStatus, " outStatus ",
                       outStatus, " inBacklog ", backlogHas(request)));
      tcamSharingCommon_->retryListDel(entry);
      if (inStatus.empty()) {
         continue;
      }
      if (doProcessRetryEntry(entry)) {
         numOfRetriedItemsInc(1);
         TRACE(7, __func__, ": retrying entry: ", entry);
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
