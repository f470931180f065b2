// What admission looks up of the requests of one pipeline: by interface, by shared entry, and where
// they stand in the queue. Kept up to date with the pipeline; nothing here changes what happens.
#pragma once

#include "host/admission/WorldFacts.h"
#include "host/pipelines/IsemPipeline.h"
#include "platform/Orv/IndexedMap.h"

#include <unordered_map>
#include <vector>

namespace ShoalHost {

class RequestIndex {
 public:
   // `shares`: the pipeline itself, if its entries are shared ones; else null.
   RequestIndex(World const& world, SharingPipeline const& pipeline, IsemPipeline const* shares);

   // The wanted requests of an interface, in the order in which they came.
   std::vector<TcamSharingRequest> const& of(IntfId intf) const;
   // The wanted requests that lead to an entry, in no order.
   std::vector<TcamSharingRequest> const& leadingTo(AradSemKeyAndFap key) const;
   // The shared entry that a wanted request leads to; none: nowhere, or its unit shares otherwise.
   std::optional<AradSemKeyAndFap> keyOf(TcamSharingRequest request) const {
      auto const* key = keys_.find(request);
      return key == nullptr ? std::nullopt : std::optional(*key);
   }
   // How many requests are wanted on a unit.
   std::size_t countOn(FapId unit) const {
      auto const* count = counts_.find(unit);
      return count == nullptr ? 0 : *count;
   }
   // The place of a request in the queue; none: not queued. A slice begins at the bookmark, if that
   // is queued, and at the first one behind the last.
   std::optional<uint64_t> placeInQueue(TcamSharingRequest request) const;
   // The place of one that waits for a retry in the order of the retry pass, behind every queued
   // one; none: it does not wait, or is not wanted.
   std::optional<uint64_t> placeInRetries(TcamSharingRequest request) const;
   // The request is queued, or waits for a retry.
   bool isPending(TcamSharingRequest request) const;
   // The shared entries with a write or removal of the request's that is not answered.
   std::vector<AradSemKeyAndFap> unansweredAt(TcamSharingRequest request) const;

   // The facts of an interface, or of every one, have changed.
   void refresh(IntfId intf);
   void refreshAll();
   // The pipeline's intake was built again.
   void intakeRebuilt();

 private:
   void handleMerged(TcamSharingRequest const& request);
   void handleBacklog(TcamSharingRequest const& request);
   void handleRetry(Hardware::ShoalTunnel::TcamSharingEntry const& entry);
   void handleConfig(AradSemKeyAndFap const& key);
   bool isUnanswered(TcamSharingRequest request, AradSemKeyAndFap key) const;
   void place(TcamSharingRequest request);
   void displace(TcamSharingRequest request);

   World const& world_;
   SharingPipeline const& pipeline_;
   IsemPipeline const* shares_;
   Orv::IndexedMap<IntfId, std::vector<TcamSharingRequest>> ofIntf_;
   Orv::IndexedMap<FapId, std::size_t> counts_;
   Orv::IndexedMap<AradSemKeyAndFap, std::vector<TcamSharingRequest>> at_;
   Orv::IndexedMap<TcamSharingRequest, AradSemKeyAndFap> keys_;
   Orv::KeyedByIndex<TcamSharingRequest, uint64_t> places_;  // of queued ones, from 1
   Orv::KeyedByIndex<TcamSharingRequest, uint64_t> retries_; // of those on the retry list, from 1
   uint64_t lastPlace_ = 0;
   // Pruned when it is asked for.
   mutable std::unordered_map<uint32_t, std::vector<AradSemKeyAndFap>> unanswered_; // by request
   Orv::ReactorFor<&RequestIndex::handleMerged> orvMerged_;
   Orv::ReactorFor<&RequestIndex::handleBacklog> orvBacklog_;
   Orv::ReactorFor<&RequestIndex::handleRetry> orvRetry_;
   Orv::ReactorFor<&RequestIndex::handleConfig> orvConfig_;
};

} // namespace ShoalHost
