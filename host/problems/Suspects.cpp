#include "host/problems/Suspects.h"

#include "ShoalTunnel/TcamSharing/TcamSharingInLifPolicyId.h"
#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

#include <algorithm>
#include <tuple>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;
using Plexus::SubIntfId;
using Plexus::TunnelIntfId;

// First by the table that lists the request, then by its place there. What only the chip knows is
// behind all tables, in the order of the chip.
struct Suspects::Rank {
   std::size_t table;
   uint64_t place;
   PolicyKey key;

   friend bool operator<(Rank const& a, Rank const& b) {
      return std::tie(a.table, a.place, a.key) < std::tie(b.table, b.place, b.key);
   }
};

Suspects::Suspects(World const& world, IsemPipeline const& isem, MapperPipeline const& mapper,
                   SharingRouter const& router, ChipSeam& chip, Chronicle const& chronicle,
                   Changes& changes)
    : world_(world), isem_(isem), mapper_(mapper), router_(router), chip_(chip),
      chronicle_(chronicle), changes_(changes) {
   auto watch = [this](auto const& collection, auto reactor) {
      collection.watch(*reactor);
      reactors_.push_back(std::move(reactor));
   };
   auto list = [this](auto const& collection) {
      orders_.push_back(std::make_unique<Orv::InsertionOrder<TcamSharingRequest>>(collection));
   };
   auto asked = [this] { return std::make_unique<Orv::ReactorFor<&Suspects::handleAsked>>(this); };
   auto done = [this] { return std::make_unique<Orv::ReactorFor<&Suspects::handleDone>>(this); };
   for (Requester requester : requesters) {
      list(router.tables().config(requester)->requestCollection());
      watch(router.tables().config(requester)->requestCollection(), asked());
   }
   for (SharingPipeline const* pipeline : {static_cast<SharingPipeline const*>(&isem),
                                           static_cast<SharingPipeline const*>(&mapper)}) {
      list(pipeline->mergedStatus->responseCollection());
      watch(pipeline->mergedStatus->responseCollection(), done());
   }
   for (SharingPipeline const* pipeline : {static_cast<SharingPipeline const*>(&isem),
                                           static_cast<SharingPipeline const*>(&mapper)}) {
      list(pipeline->merged->requestCollection());
      watch(pipeline->merged->requestCollection(), asked());
   }
   list(isem.common->tcamRequestToIsemKeyMappingCollection());
   watch(isem.common->tcamRequestToIsemKeyMappingCollection(), done());
   chip.forEachHeld([this](EntryKey const& key, EntryData const&) {
      if (auto const* tunnel = std::get_if<TunnelPolicyMapperKey>(&key)) {
         entryChanged(*tunnel, std::nullopt);
      }
   });
   chip.watcherIs([this](auto key, std::optional<uint32_t> writer) { entryChanged(key, writer); });
   changes.watcherIs(this);
}

Suspects::~Suspects() {
   changes_.watcherIs(nullptr);
   chip_.watcherIs(nullptr);
}

// ---- What makes a suspect

void Suspects::review(TcamSharingRequest request) {
   if (isPlainlySound(request)) {
      suspects_.erase(request);
   } else {
      suspect(request);
   }
}

void Suspects::reviewRequestsOf(IntfId intf) {
   for (RequestIndex const* index : {&changes_.indexOf(isem_), &changes_.indexOf(mapper_)}) {
      for (TcamSharingRequest request : index->of(intf)) {
         review(request);
      }
   }
}

void Suspects::interfaceChanged(IntfId intf) {
   reviewRequestsOf(intf);
}

void Suspects::reviewUnits() {
   auto reviewAll = [&](auto&& rows) {
      for (auto const& row : rows) {
         if (units_.contains(row.key.fapId())) {
            review(row.key);
         }
      }
   };
   if (units_.empty()) {
      return;
   }
   // A response of the pipeline that served the unit before may count again.
   for (SharingPipeline const* pipeline : {static_cast<SharingPipeline const*>(&isem_),
                                           static_cast<SharingPipeline const*>(&mapper_)}) {
      reviewAll(pipeline->merged->requestIter());
      reviewAll(pipeline->mergedStatus->responseIter());
   }
   reviewAll(isem_.common->tcamRequestToIsemKeyMappingIter());
   units_.clear();
}

// The chronicle does not know yet for whom the entry is written now, so a plain check of the writer
// would judge by the write before.
void Suspects::suspectWriter(std::optional<uint32_t> writer) {
   if (writer) {
      suspect(TcamSharingRequest::fromIndex(*writer));
   }
}

void Suspects::entryChanged(AradSemKeyAndFap key, std::optional<uint32_t> writer) {
   for (RequestIndex const* index : {&changes_.indexOf(isem_), &changes_.indexOf(mapper_)}) {
      for (TcamSharingRequest request : index->leadingTo(key)) {
         review(request);
      }
   }
   if (auto users = isem_.common->semToRequest(key)) {
      for (auto const& [user, present] : users->requestIter()) {
         review(user);
      }
   }
   suspectWriter(writer);
}

void Suspects::entryChanged(VlanTagToVsiMapperKey key, std::optional<uint32_t> writer) {
   reviewRequestsOf(key.fields().subIntfId);
   // One that was withdrawn, and whose data come back by a replay.
   if (auto change = chronicle_.lastChange(key); change && change->by) {
      review(*change->by);
   }
   suspectWriter(writer);
}

void Suspects::entryChanged(TunnelPolicyMapperKey key, std::optional<uint32_t> writer) {
   reviewRequestsOf(key.intfId());
   suspect(TcamSharingRequest(key.intfId(), key.fapId()));
   suspectWriter(writer);
}

// ---- The plain check

bool Suspects::isPlainlySound(TcamSharingRequest request) const {
   SharingPipeline const& pipeline = router_.pipelineOf(request.fapId());
   TcamSharingResponse response = pipeline.mergedStatus->response(request);
   TcamSharingPolicyId merged = pipeline.merged->request(request);
   if (isHeldBack(request)) {
      return false;
   }
   if (merged.empty()) {
      return response.status == tcamSharingNone && isOver(request);
   }
   if (response.status != tcamSharingSuccess || response.policyId != merged ||
       !hasWhatWasAsked(request, merged)) {
      return false;
   }
   return &pipeline == &isem_ ? standsInIsem(request, merged) : standsInMapper(request, merged);
}

bool Suspects::isHeldBack(TcamSharingRequest request) const {
   return std::any_of(requesters.begin(), requesters.end(), [&](Requester requester) {
      return !changes_.detours().heldBack(requester, request).empty();
   });
}

bool Suspects::hasWhatWasAsked(TcamSharingRequest request, TcamSharingPolicyId merged) const {
   uint64_t unasked = merged.value();
   for (Requester requester : requesters) {
      TcamSharingPolicyId asks = router_.tables().config(requester)->request(request);
      uint64_t fields = ownFields(world_, requester, request.fapId()) | asks.value();
      if (!asks.empty() && (merged.value() & fields) != asks.value()) {
         return false;
      }
      unasked &= asks.empty() ? ~uint64_t{0} : ~fields;
   }
   return unasked == 0;
}

bool Suspects::isOver(TcamSharingRequest request) const {
   return std::none_of(requesters.begin(), requesters.end(),
                       [&](Requester requester) {
                          return router_.tables().config(requester)->requestHas(request);
                       }) &&
          !isem_.common->tcamRequestToIsemKeyMappingHas(request) &&
          !TunnelIntfId::isTunnelIntfId(request.intfId()) && leftNothing(request, {});
}

bool Suspects::standsInIsem(TcamSharingRequest request, TcamSharingPolicyId merged) const {
   auto key = changes_.indexOf(isem_).keyOf(request);
   auto recorded = isem_.common->tcamRequestToIsemKeyMapping(request);
   if (!key || (recorded != AradSemKeyAndFap() && recorded != *key) ||
       TunnelIntfId::isTunnelIntfId(request.intfId())) {
      return false;
   }
   auto configured = chip_.isem().configured(*key);
   return configured && chip_.isem().stands(*key) &&
          *configured == AradSemPayload::basic(TcamSharingIsemPolicyId(merged).makeISemPayloadValue(
                             world_.shoalStatus, request.fapId())) &&
          leftNothing(request, {});
}

std::optional<std::vector<VlanTagToVsiMapperKey>>
Suspects::mapperKeys(TcamSharingRequest request) const {
   IntfId intf = request.intfId();
   WorldFacts facts(world_, {});
   auto tags = facts.tags(request);
   if (!SubIntfId::isSubIntfId(intf) || !tags || !facts.domain(intf, request.fapId())) {
      return std::nullopt;
   }
   auto status = world_.subIntfStatusDir->subIntfStatus(intf);
   IntfId parent = SubIntfId::parentIntfId(intf);
   std::vector<VlanTagToVsiMapperKey> keys;
   for (IntfId port : world_.portsOf(parent)) {
      if (port == parent || world_.placeOf(port).fapId == request.fapId()) {
         keys.push_back(
             VlanTagToVsiMapperKey::ofSubIntf(port, intf, *tags, status ? status->encapKind() : 0));
      }
   }
   return keys;
}

bool Suspects::standsInMapper(TcamSharingRequest request, TcamSharingPolicyId merged) const {
   uint64_t data = TcamSharingInLifPolicyId(merged).inLifAdditionalData();
   auto stands = [&](auto key) {
      auto configured = chip_.table(key).configured(key);
      return configured && configured->inLifAdditionalData == data && chip_.table(key).stands(key);
   };
   if (TunnelIntfId::isTunnelIntfId(request.intfId())) {
      return data != 0 && stands(TunnelPolicyMapperKey(request.intfId(), request.fapId())) &&
             !isem_.common->tcamRequestToIsemKeyMappingHas(request);
   }
   auto keys = mapperKeys(request);
   return data != 0 && keys && !keys->empty() && std::all_of(keys->begin(), keys->end(), stands) &&
          !isem_.common->tcamRequestToIsemKeyMappingHas(request) && leftNothing(request, *keys);
}

bool Suspects::leftNothing(TcamSharingRequest request,
                           std::vector<VlanTagToVsiMapperKey> const& current) const {
   bool nothing = true;
   chip_.mapper().forEachKeyOf(request.intfId(), [&](VlanTagToVsiMapperKey key) {
      if (nothing && std::find(current.begin(), current.end(), key) == current.end()) {
         auto change = chronicle_.lastChange(key);
         auto const& table = chip_.mapper();
         auto there = !change || change->by != request ? std::nullopt
                      : table.stands(key)              ? table.configured(key)
                                                       : table.held(key);
         nothing = !there || there->inLifAdditionalData == 0;
      }
   });
   return nothing;
}

// ---- The list

std::optional<Suspects::Rank> Suspects::rank(TcamSharingRequest request) const {
   for (std::size_t table = 0; table < orders_.size(); ++table) {
      if (uint64_t place = orders_[table]->place(request); place != 0) {
         return Rank{table, place, {}};
      }
   }
   std::optional<Rank> first;
   auto offer = [&](PolicyKey const& key) {
      Rank offered{orders_.size(), 0, key};
      if (!first || offered < *first) {
         first = offered;
      }
   };
   chip_.mapper().forEachKeyOf(request.intfId(), [&](VlanTagToVsiMapperKey key) {
      auto held = chip_.mapper().held(key);
      auto change = chronicle_.lastChange(key);
      if (held && held->inLifAdditionalData != 0 && change && change->by == request) {
         offer(key);
      }
   });
   if (TunnelIntfId::isTunnelIntfId(request.intfId())) {
      TunnelPolicyMapperKey key(request.intfId(), request.fapId());
      if (request == TcamSharingRequest(key.intfId(), key.fapId()) && chip_.tunnels().held(key)) {
         offer(key);
      }
   }
   return first;
}

std::vector<TcamSharingRequest> Suspects::list() {
   reviewUnits();
   std::vector<std::pair<Rank, TcamSharingRequest>> ranked;
   std::vector<TcamSharingRequest> forgotten;
   suspects_.forEach([&](TcamSharingRequest request, Nothing) {
      if (auto found = rank(request)) {
         ranked.emplace_back(*found, request);
      } else {
         forgotten.push_back(request);
      }
   });
   for (TcamSharingRequest request : forgotten) {
      suspects_.erase(request);
   }
   std::sort(ranked.begin(), ranked.end(),
             [](auto const& a, auto const& b) { return a.first < b.first; });
   std::vector<TcamSharingRequest> found;
   found.reserve(ranked.size());
   for (auto const& [place, request] : ranked) {
      found.push_back(request);
   }
   // What was refused, and is in no table.
   for (auto const& held : changes_.detours().heldBack()) {
      if (!suspects_.contains(held.request)) {
         suspect(held.request);
         found.push_back(held.request);
      }
   }
   return found;
}

} // namespace ShoalHost
