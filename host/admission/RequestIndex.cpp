#include "host/admission/RequestIndex.h"

#include <algorithm>

namespace ShoalHost {

using Hardware::ShoalTunnel::TcamSharingEntry;

RequestIndex::RequestIndex(World const& world, SharingPipeline const& pipeline,
                           IsemPipeline const* shares)
    : world_(world), pipeline_(pipeline), shares_(shares), orvMerged_(this), orvBacklog_(this),
      orvRetry_(this), orvConfig_(this) {
   for (auto const& [request, policy] : pipeline_.merged->requestIter()) {
      handleMerged(request);
   }
   pipeline_.merged->requestCollection().watch(orvMerged_);
   intakeRebuilt();
   pipeline_.commonBase->retryListCollection().watch(orvRetry_);
   if (shares_ != nullptr) {
      shares_->table->configCollection().watch(orvConfig_);
   }
}

// The machine queues what is unanswered ahead of its write; the newest is at the end.
void RequestIndex::handleConfig(AradSemKeyAndFap const& key) {
   auto queue = shares_->common->pendingSemWrite({key, shares_->table->configHas(key)});
   if (queue && queue->pendingSharingEntrys() > 0) {
      std::size_t newest = queue->pendingSharingEntrys() - 1;
      auto& keys = unanswered_[queue->pendingSharingEntryQueue()[newest].request().index()];
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
         keys.push_back(key);
      }
   }
}

bool RequestIndex::isUnanswered(TcamSharingRequest request, AradSemKeyAndFap key) const {
   for (bool isInsert : {false, true}) {
      auto queue = shares_->common->pendingSemWrite({key, isInsert});
      for (std::size_t i = 0; queue && i < queue->pendingSharingEntrys(); ++i) {
         if (queue->pendingSharingEntryQueue()[i].request() == request) {
            return true;
         }
      }
   }
   return false;
}

std::vector<AradSemKeyAndFap> RequestIndex::unansweredAt(TcamSharingRequest request) const {
   auto found = unanswered_.find(request.index());
   if (found == unanswered_.end()) {
      return {};
   }
   auto keys = found->second;
   std::erase_if(keys, [&](AradSemKeyAndFap key) { return !isUnanswered(request, key); });
   if (keys.empty()) {
      unanswered_.erase(found);
   } else {
      found->second = keys;
   }
   return keys;
}

void RequestIndex::handleMerged(TcamSharingRequest const& request) {
   auto& list = ofIntf_[request.intfId()];
   bool wanted = pipeline_.merged->requestHas(request);
   bool known = std::find(list.begin(), list.end(), request) != list.end();
   if (wanted && !known) {
      list.push_back(request);
      ++counts_[request.fapId()];
      place(request);
   } else if (!wanted && known) {
      std::erase(list, request);
      --counts_[request.fapId()];
      if (list.empty()) {
         ofIntf_.erase(request.intfId());
      }
      displace(request);
   }
}

void RequestIndex::handleBacklog(TcamSharingRequest const& request) {
   if (pipeline_.codef->backlog(request)) {
      places_.set(request, ++lastPlace_);
   } else {
      places_.del(request);
   }
}

void RequestIndex::intakeRebuilt() {
   auto const& backlog = pipeline_.codef->backlogCollection();
   if (!orvBacklog_.registered()) {
      backlog.watch(orvBacklog_);
   }
   places_.delAll();
   for (auto const& [request, queued] : backlog.walk()) {
      handleBacklog(request);
   }
}

void RequestIndex::place(TcamSharingRequest request) {
   WorldFacts facts(world_, {});
   // What was wanted before a unit changed its type may still be.
   if (shares_ == nullptr && !facts.isArad(request.fapId())) {
      return;
   }
   if (auto key = facts.sharedKey(request)) {
      keys_[request] = *key;
      at_[*key].push_back(request);
   }
}

void RequestIndex::displace(TcamSharingRequest request) {
   if (auto key = keyOf(request)) {
      auto& at = *at_.find(*key);
      std::erase(at, request);
      if (at.empty()) {
         at_.erase(*key);
      }
      keys_.erase(request);
   }
}

void RequestIndex::refresh(IntfId intf) {
   for (TcamSharingRequest request : of(intf)) {
      displace(request);
      place(request);
   }
}

void RequestIndex::refreshAll() {
   for (auto const& [request, policy] : pipeline_.merged->requestIter()) {
      displace(request);
      place(request);
   }
}

namespace {

std::vector<TcamSharingRequest> const& orNone(std::vector<TcamSharingRequest> const* found) {
   static std::vector<TcamSharingRequest> const none;
   return found == nullptr ? none : *found;
}

} // namespace

std::vector<TcamSharingRequest> const& RequestIndex::of(IntfId intf) const {
   return orNone(ofIntf_.find(intf));
}

std::vector<TcamSharingRequest> const& RequestIndex::leadingTo(AradSemKeyAndFap key) const {
   return orNone(at_.find(key));
}

std::optional<uint64_t> RequestIndex::placeInQueue(TcamSharingRequest request) const {
   uint64_t place = places_.get(request);
   return place == 0 ? std::nullopt : std::optional(place);
}

// A retry pass walks the list in the order in which entries came.
void RequestIndex::handleRetry(TcamSharingEntry const& entry) {
   TcamSharingRequest request = entry.request();
   if (!pipeline_.commonBase->retryList(entry)) {
      retries_.del(request);
   } else if (retries_.get(request) == 0) {
      retries_.set(request, ++lastPlace_);
   }
}

std::optional<uint64_t> RequestIndex::placeInRetries(TcamSharingRequest request) const {
   uint64_t place = retries_.get(request);
   constexpr uint64_t behind = uint64_t{3} << 62;
   return place != 0 && pipeline_.merged->requestHas(request) ? std::optional(behind + place)
                                                              : std::nullopt;
}

bool RequestIndex::isPending(TcamSharingRequest request) const {
   return places_.get(request) != 0 || placeInRetries(request);
}

} // namespace ShoalHost
