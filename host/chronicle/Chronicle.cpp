#include "host/chronicle/Chronicle.h"

#include <algorithm>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

struct Chronicle::Watch {
   Watch(Chronicle* owner, SharingPipeline const& of)
       : chronicle(owner), pipeline(of), order(of.merged->requestCollection()), orvMerged(this),
         orvStatus(this), orvBacklog(this), orvRetry(this) {
      pipeline.merged->requestCollection().watch(orvMerged);
      pipeline.mergedStatus->responseCollection().watch(orvStatus);
      pipeline.codef->backlogCollection().watch(orvBacklog);
      pipeline.commonBase->retryListCollection().watch(orvRetry);
   }
   void handleMerged(TcamSharingRequest const& request) {
      note(request, &RequestTimes::asked, pipeline.merged->requestHas(request));
   }
   void handleStatus(TcamSharingRequest const& request) {
      note(request, &RequestTimes::status, pipeline.mergedStatus->responseHas(request));
   }
   void handleBacklog(TcamSharingRequest const& request) {
      note(request, &RequestTimes::queued, pipeline.codef->backlog(request));
   }

   void handleRetry(TcamSharingEntry const& entry) {
      auto& policies = retried[entry.request()];
      if (!pipeline.commonBase->retryList(entry)) {
         std::erase(policies, entry.policyId());
         if (policies.empty()) {
            retried.erase(entry.request());
         }
      } else if (std::find(policies.begin(), policies.end(), entry.policyId()) == policies.end()) {
         policies.push_back(entry.policyId());
      }
   }

   void note(TcamSharingRequest const& request, std::optional<Seconds> RequestTimes::*time,
             bool there) {
      RequestTimes& changed = times[request];
      changed.*time = there ? std::optional(Orv::System::peekTime()) : std::nullopt;
      if (time == &RequestTimes::status) {
         changed.cause = there ? chronicle->causeNow(request) : ResponseCause();
      }
   }

   Chronicle* chronicle;
   SharingPipeline const& pipeline;
   Orv::IndexedMap<TcamSharingRequest, RequestTimes> times;
   Orv::IndexedMap<TcamSharingRequest, std::vector<TcamSharingPolicyId>> retried;
   Orv::InsertionOrder<TcamSharingRequest> order;
   Orv::ReactorFor<&Watch::handleMerged> orvMerged;
   Orv::ReactorFor<&Watch::handleStatus> orvStatus;
   Orv::ReactorFor<&Watch::handleBacklog> orvBacklog;
   Orv::ReactorFor<&Watch::handleRetry> orvRetry;
};

Chronicle::Chronicle(IsemPipeline const& isem, MapperPipeline const& mapper, ChipSeam& chip)
    : isem_(isem), mapper_(mapper), chip_(chip),
      pendingLifs_(mapper.common->pendingLifEntriesCollection()), orvIsemConfig_(this),
      orvMapperConfig_(this), orvTunnelConfig_(this) {
   for (SharingPipeline const* pipeline : {static_cast<SharingPipeline const*>(&isem),
                                           static_cast<SharingPipeline const*>(&mapper)}) {
      watches_.push_back(std::make_unique<Watch>(this, *pipeline));
   }
   for (auto const& [key, result] : mapper.mapperConfig->configIter()) {
      handleMapperConfig(key);
   }
   chip.writerOfIs([this](auto key) -> std::optional<uint32_t> {
      auto writer = writerOf(key);
      return writer ? std::optional(writer->index()) : std::nullopt;
   });
   isem.table->configCollection().watch(orvIsemConfig_);
   mapper.mapperConfig->configCollection().watch(orvMapperConfig_);
   mapper.tunnelConfig->configCollection().watch(orvTunnelConfig_);
}

Chronicle::~Chronicle() {
   chip_.writerOfIs(nullptr);
}

void Chronicle::intakesRebuilt() {
   for (auto const& watch : watches_) {
      auto const& backlog = watch->pipeline.codef->backlogCollection();
      if (!watch->orvBacklog.registered()) {
         backlog.watch(watch->orvBacklog);
      }
      for (auto const& [request, queued] : backlog.walk()) {
         watch->handleBacklog(request);
      }
   }
}

std::optional<EntryChange> Chronicle::lastChange(PolicyKey const& key) const {
   return std::visit(
       [this](auto each) {
          auto const* found =
              std::get<Orv::IndexedMap<decltype(each), EntryChange>>(changes_).find(each);
          return found == nullptr ? std::nullopt : std::optional(*found);
       },
       key);
}

Chronicle::Watch const& Chronicle::watch(SharingPipeline const& pipeline) const {
   return **std::find_if(watches_.begin(), watches_.end(),
                         [&](auto const& each) { return &each->pipeline == &pipeline; });
}

RequestTimes Chronicle::of(SharingPipeline const& pipeline, TcamSharingRequest request) const {
   auto const* found = watch(pipeline).times.find(request);
   return found == nullptr ? RequestTimes() : *found;
}

std::vector<TcamSharingPolicyId> const& Chronicle::retried(SharingPipeline const& pipeline,
                                                           TcamSharingRequest request) const {
   static std::vector<TcamSharingPolicyId> const none;
   auto const* found = watch(pipeline).retried.find(request);
   return found == nullptr ? none : *found;
}

uint64_t Chronicle::placeOf(SharingPipeline const& pipeline, TcamSharingRequest request) const {
   return watch(pipeline).order.place(request);
}

ResponseCause Chronicle::causeNow(TcamSharingRequest request) const {
   using Kind = ResponseCause::Kind;
   auto answered = [&](auto const& table, auto key) {
      return ResponseCause{Kind::answered, key,
                           table.memory(key).lastAnswer.value_or(EntryMemory::Event{})};
   };
   if (auto key = chip_.isem().answering()) {
      return answered(chip_.isem(), *key);
   }
   if (auto key = chip_.tunnels().answering()) {
      return answered(chip_.tunnels(), *key);
   }
   if (auto key = chip_.mapper().answering()) {
      // The members' answers count together; the machine still knows whose they were, and of
      // earlier ones, too.
      auto confirmed = mapper_.common->tcamRequestToVlanTagToVsiKeyMapping(request);
      auto cause = answered(chip_.mapper(), *key);
      bool failed = mapper_.mergedStatus->response(request).status == tcamSharingFailed;
      if (failed && confirmed && cause.answer.outcome == Outcome::accepted) {
         std::optional<VlanTagToVsiMapperKey> newest;
         uint64_t write = 0;
         for (auto const& [member, present] : confirmed->vtagToVsiMapperKeyIter()) {
            auto last = chip_.mapper().memory(member).lastAnswer;
            if (last && last->outcome != Outcome::accepted && last->write >= write) {
               newest = member;
               write = last->write;
            }
         }
         cause = newest ? answered(chip_.mapper(), *newest) : cause;
      }
      return cause;
   }
   bool restarting =
       chip_.isem().restarting() || chip_.mapper().restarting() || chip_.tunnels().restarting();
   return ResponseCause{restarting ? Kind::restarted : Kind::processed, std::nullopt, {}};
}

// The machine queues the pending write before it writes; the newest is at the end.
std::optional<TcamSharingRequest> Chronicle::writerOf(AradSemKeyAndFap key) const {
   bool isInsert = isem_.table->configHas(key);
   auto pending = isem_.common->pendingSemWrite(PendingSemWriteKey{key, isInsert});
   if (!pending || pending->pendingSharingEntrys() == 0) {
      return std::nullopt;
   }
   auto newest = pending->pendingSharingEntryQueue()[pending->pendingSharingEntrys() - 1].request();
   // Who is withdrawn is still among the users; who moves off has left already, unrecorded.
   auto users = isem_.common->semToRequest(key);
   bool recorded = isInsert || (users && users->requestHas(newest));
   return recorded ? std::optional(newest) : std::nullopt;
}

std::optional<TcamSharingRequest> Chronicle::writerOf(VlanTagToVsiMapperKey key) const {
   TcamSharingEntry pending = mapper_.common->pendingLifEntries(key);
   bool isOwners = !mapper_.mapperConfig->configHas(key) || isMade(key);
   return isOwners || pending == TcamSharingEntry() ? std::nullopt
                                                    : std::optional(pending.request());
}

std::optional<TcamSharingRequest> Chronicle::writerOf(TunnelPolicyMapperKey key) const {
   return mapper_.common->pendingTunnelLifEntries(key).request();
}

bool Chronicle::isMade(VlanTagToVsiMapperKey key) const {
   auto const* known = lifs_.find(key);
   auto result = mapper_.mapperConfig->configCollection().find(key);
   return result && (known == nullptr || *known != result->lif);
}

void Chronicle::handleIsemConfig(AradSemKeyAndFap const& key) {
   using Kind = EntryChange::Kind;
   auto writer = writerOf(key);
   if (isem_.table->configHas(key)) {
      change(key, Kind::written, writer);
   } else if (writer) {
      change(key, Kind::removed, writer);
   } else {
      // Who moves off had written last.
      auto last = lastChange(key);
      change(key, Kind::left, last ? last->by : std::nullopt);
   }
}

void Chronicle::handleMapperConfig(VlanTagToVsiMapperKey const& key) {
   using Kind = EntryChange::Kind;
   auto writer = writerOf(key);
   auto result = mapper_.mapperConfig->configCollection().find(key);
   if (!result) {
      lifs_.erase(key);
      change(key, Kind::removed, writer);
      return;
   }
   Kind kind = isMade(key) ? Kind::made : Kind::written;
   lifs_[key] = result->lif;
   change(key, kind, writer);
}

void Chronicle::handleTunnelConfig(TunnelPolicyMapperKey const& key) {
   using Kind = EntryChange::Kind;
   change(key, mapper_.tunnelConfig->configHas(key) ? Kind::written : Kind::removed, writerOf(key));
}

} // namespace ShoalHost
