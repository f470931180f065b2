#include "host/insight/Situation.h"

#include "host/names/Names.h"
#include "ShoalTunnel/TcamSharing/TcamSharingInLifPolicyId.h"
#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

#include <algorithm>
#include <tuple>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

namespace {

constexpr char const* noPolicy = "an entry without a policy";

std::string formatPayload(AradSemPayload payload) {
   TcamSharingPolicyId policy = policyOfPayload(payload);
   return policy.empty() ? noPolicy : formatPolicy(policy);
}

AradSemPayload payloadOf(Host const& host, TcamSharingRequest request, TcamSharingPolicyId policy) {
   return AradSemPayload::basic(TcamSharingIsemPolicyId(policy).makeISemPayloadValue(
       host.world().shoalStatus, request.fapId()));
}

uint64_t dataOf(TcamSharingPolicyId policy) {
   return TcamSharingInLifPolicyId(policy).inLifAdditionalData();
}

// The answer that completes a request's write or removal, behind `earlier` others of its key and
// kind.
template<class T>
Awaited awaitedAnswer(SeamTable<T> const& table, typename T::Key key, bool removal,
                      std::size_t earlier, TcamSharingRequest request) {
   Awaited awaited;
   awaited.removal = removal;
   auto expected = table.expected(key);
   awaited.unknown = !expected;
   for (ExpectedAnswer const& answer : expected.value_or(std::vector<ExpectedAnswer>{})) {
      awaited.heldBack = awaited.heldBack || !answer.due;
      if (answer.due && answer.write.data.has_value() != removal) {
         if (earlier == 0) {
            awaited.due = answer.due;
            awaited.heldBack = false;
            if (answer.write.writer && *answer.write.writer != request.index()) {
               awaited.writer = TcamSharingRequest::fromIndex(*answer.write.writer);
            }
            return awaited;
         }
         --earlier;
      }
   }
   return awaited;
}

} // namespace

// The facts of one request, gathered table by table.
class Gathering {
 public:
   Gathering(Situations const& all, Situation& situation)
       : all_(all), host_(all.host_), found_(situation) {}

   void gather() {
      if (!found_.merged.empty()) {
         for (PolicyKey const& key : found_.resolution.keys) {
            add(key, Role::current);
         }
      }
      addLeftBehind();
      host_.seam().forEachPolicyTable([this](auto const& table) { findCrowded(table); });
      found_.inHardware =
          !found_.merged.empty() && !found_.resolution.keys.empty() && carriesSomething() &&
          std::all_of(found_.entries.begin(), found_.entries.end(), [](auto const& entry) {
             return entry.carries || entry.role != Role::current;
          });
      found_.leftBehind =
          std::any_of(found_.entries.begin(), found_.entries.end(), [](auto const& entry) {
             return entry.role == Role::leftBehind && entry.held;
          });
      TcamSharingEntry entry(found_.request, found_.merged);
      found_.answersAwaited = host_.mapper().common->tcamSharingEntryRefCount(entry);
   }

 private:
   using Role = EntrySituation::Role;

   // An in-LIF without data is not told from one that nobody asks for; an ISEM entry is.
   bool carriesSomething() const {
      return found_.pipeline == &host_.isem() || dataOf(found_.merged) != 0;
   }

   void add(PolicyKey const& key, Role role) {
      EntrySituation entry;
      entry.key = key;
      entry.role = role;
      entry.change = host_.chronicle().lastChange(key);
      std::visit([&](auto const& each) { fill(entry, each); }, key);
      found_.entries.push_back(std::move(entry));
   }

   void addLeftBehind() {
      auto addOnce = [&](PolicyKey const& key, Role role) {
         if (std::none_of(found_.entries.begin(), found_.entries.end(),
                          [&](auto const& entry) { return entry.key == key; })) {
            add(key, role);
         }
      };
      auto mapping = host_.isem().common->tcamRequestToIsemKeyMapping(found_.request);
      if (mapping != AradSemKeyAndFap()) {
         addOnce(mapping, Role::leftBehind);
      }
      for (VlanTagToVsiMapperKey key : all_.mapperKeys(found_.request.intfId())) {
         auto held = host_.seam().mapper().held(key);
         auto change = host_.chronicle().lastChange(key);
         if (held && held->inLifAdditionalData != 0 && change && change->by == found_.request) {
            addOnce(key, Role::leftBehind);
         } else if (host_.mapper().common->pendingLifEntries(key).request() == found_.request) {
            addOnce(key, Role::other);
         }
      }
      if (Plexus::TunnelIntfId::isTunnelIntfId(found_.request.intfId())) {
         TunnelPolicyMapperKey key(found_.request.intfId(), found_.request.fapId());
         if (host_.seam().tunnels().held(key)) {
            addOnce(key, Role::leftBehind);
         }
      }
      // Nothing is asked for any more: what the last answer was given for tells the rest.
      if (found_.merged.empty() && found_.times.cause.key) {
         addOnce(*found_.times.cause.key, Role::other);
      }
   }

   void fill(EntrySituation& entry, AradSemKeyAndFap key) {
      auto const& common = *host_.isem().common;
      entry.name = formatKey(key);
      AradSemPayload wanted = payloadOf(host_, found_.request, found_.merged);
      if (auto configured = host_.isem().table->configCollection().find(key)) {
         entry.configured = formatPayload(*configured);
         entry.configuredRight = *configured == wanted;
      }
      if (auto held = host_.seam().isem().held(key)) {
         entry.held = formatPayload(*held);
         entry.carries = *held == wanted;
      }
      entry.chip = host_.seam().isem().memory(key);
      for (bool isInsert : {true, false}) {
         auto pending = common.pendingSemWrite(PendingSemWriteKey{key, isInsert});
         for (std::size_t i = 0; pending && i < pending->pendingSharingEntrys(); ++i) {
            TcamSharingEntry const& each = pending->pendingSharingEntryQueue()[i];
            (isInsert ? entry.writes : entry.removals).push_back(each.request());
            bool own = isInsert ? each == TcamSharingEntry(found_.request, found_.merged)
                                : each.request() == found_.request;
            // The write's answer counts, also behind a removal that was never answered.
            if (own && !entry.awaited) {
               entry.awaited =
                   awaitedAnswer(host_.seam().isem(), key, !isInsert, i, found_.request);
            }
         }
      }
      if (auto users = common.semToRequest(key)) {
         for (auto const& [user, present] : users->requestIter()) {
            if (present && user != found_.request) {
               entry.recorded.push_back(user);
            }
         }
      }
      entry.shared = entry.recorded;
      addLeading(entry);
   }

   // One that was answered at once, since another had written the same, is recorded nowhere.
   void addLeading(EntrySituation& entry) const {
      for (TcamSharingRequest other : all_.leadingTo(entry.key)) {
         if (other != found_.request &&
             std::find(entry.shared.begin(), entry.shared.end(), other) == entry.shared.end()) {
            entry.shared.push_back(other);
         }
      }
   }

   void fill(EntrySituation& entry, VlanTagToVsiMapperKey key) {
      fillData(entry, key, host_.seam().mapper());
      TcamSharingEntry pending = host_.mapper().common->pendingLifEntries(key);
      if (pending != TcamSharingEntry()) {
         bool removal = pending.policyId().empty();
         (removal ? entry.removals : entry.writes).push_back(pending.request());
         if (isOwn(pending)) {
            entry.awaited = answerTo(host_.seam().mapper(), key, removal);
         }
      }
   }

   void fill(EntrySituation& entry, TunnelPolicyMapperKey key) {
      fillData(entry, key, host_.seam().tunnels());
      TcamSharingEntry pending = host_.mapper().common->pendingTunnelLifEntries(key);
      if (pending == TcamSharingEntry()) {
         return;
      }
      bool removal = pending.policyId().empty();
      Awaited awaited = answerTo(host_.seam().tunnels(), key, removal);
      auto const& [write, answer] = std::tie(entry.chip.lastWrite, entry.chip.lastAnswer);
      // A policy that leaves the data alone is not written, so nothing answers it.
      bool unanswered = write && (!answer || answer->write < write->write ||
                                  answer->outcome == Outcome::inProgress);
      bool coming = awaited.due || awaited.heldBack;
      // The entry stays pending behind its answer; only one for the present policy counts.
      bool answered = found_.response.policyId == found_.merged && isFinal(found_.response);
      if (coming ||
          (unanswered && (removal ? found_.response.status != tcamSharingNone : !answered))) {
         (removal ? entry.removals : entry.writes).push_back(pending.request());
         if (isOwn(pending)) {
            entry.awaited = awaited;
         }
      }
   }

   // Of the present policy, or of a removal.
   bool isOwn(TcamSharingEntry const& pending) const {
      return pending.request() == found_.request &&
             (pending.policyId() == found_.merged || pending.policyId().empty());
   }

   template<class Key, class T>
   void fillData(EntrySituation& entry, Key key, SeamTable<T> const& table) const {
      entry.name = formatKey(key);
      uint64_t wanted = dataOf(found_.merged);
      // An in-LIF is there without data, too; a tunnel's entry is the request's.
      auto format = [](uint64_t data) {
         return data != 0                        ? formatData(data)
                : std::is_same_v<T, TunnelTable> ? std::string(noPolicy)
                                                 : "no policy";
      };
      if (auto configured = table.configured(key)) {
         entry.configured = format(configured->inLifAdditionalData);
         entry.configuredRight = configured->inLifAdditionalData == wanted;
      }
      if (auto held = table.held(key)) {
         entry.held = format(held->inLifAdditionalData);
         entry.carries = held->inLifAdditionalData == wanted;
      }
      entry.chip = table.memory(key);
      addLeading(entry);
      // An entry has one write that counts, the last one.
      uint64_t last = entry.chip.lastWrite ? entry.chip.lastWrite->write : 0;
      for (auto* event : {&entry.chip.lost, &entry.chip.dropped}) {
         if (*event && (*event)->write != last) {
            event->reset();
         }
      }
   }

   // The first answer for the data that the table holds now; "in progress" is none. A tunnel's
   // removal and write are told apart, of an in-LIF the data alone count.
   template<class T>
   Awaited answerTo(SeamTable<T> const& table, typename T::Key key, bool removal) const {
      auto data = [](auto const& entry) { return entry ? entry->inLifAdditionalData : 0; };
      auto dataOfWrite = [](ChipWrite const& write) {
         return write.data ? std::get<typename T::Data>(*write.data).inLifAdditionalData : 0;
      };
      Awaited awaited;
      awaited.removal = removal;
      auto expected = table.expected(key);
      awaited.unknown = !expected;
      for (ExpectedAnswer const& answer : expected.value_or(std::vector<ExpectedAnswer>{})) {
         awaited.heldBack = awaited.heldBack || !answer.due;
         bool otherKind =
             std::is_same_v<T, TunnelTable> && answer.write.data.has_value() == removal;
         if (answer.due && !awaited.due && !otherKind &&
             dataOfWrite(answer.write) == data(table.configured(key)) &&
             answer.outcome != Outcome::inProgress) {
            awaited.due = answer.due;
         }
      }
      return awaited;
   }

   template<class T>
   void findCrowded(SeamTable<T> const& table) {
      std::map<FapId, uint64_t> missing;
      std::map<FapId, uint64_t> freed;
      for (EntrySituation const& entry : found_.entries) {
         auto const* key = std::get_if<typename T::Key>(&entry.key);
         if (key != nullptr && entry.role == Role::current && !entry.held) {
            ++missing[table.unitOf(*key)];
         } else if (key != nullptr && entry.role == Role::leftBehind && entry.held &&
                    std::is_same_v<T, IsemTable>) {
            // Who moves takes its earlier entry out first.
            ++freed[table.unitOf(*key)];
         }
      }
      for (auto const& [unit, count] : missing) {
         auto room = table.room(unit);
         if (room && count > *room + freed[unit]) {
            found_.crowded = unit;
         }
         if (room && all_.missing(table, unit) > *room) {
            found_.crowdedForReplay = unit;
         }
      }
   }

   Situations const& all_;
   Host const& host_;
   Situation& found_;
};

namespace {

// The policies' bits that an entry of the ISEM carries, or one of any other table.
uint64_t carriedBits(bool isem) {
   if (isem) {
      return policyOfPayload(
                 AradSemPayload::basic(TcamSharingIsemPolicyId(TcamSharingPolicyId(UINT64_MAX))
                                           .makeISemPayloadValue(nullptr, {})))
          .value();
   }
   return TcamSharingInLifPolicyId::inLifAdditionalDataMask;
}

} // namespace

RequesterPart requesterPart(Host const& host, Situation const& situation, Requester requester) {
   using InHardware = RequesterPart::InHardware;
   TcamSharingRequest request = situation.request;
   uint64_t fields = ownFields(host.world(), requester, request.fapId());
   uint64_t asked = host.sharing().config(requester)->request(request).value() & fields;
   RequesterPart part;
   part.asked = TcamSharingPolicyId(asked);
   part.answer = host.sharing()
                     .status(requester == Requester::rampart ? Requester::lumen : requester)
                     ->response(request);
   // Lumen and rampart write one field.
   if (situation.inHardware && asked != 0 && (situation.merged.value() & fields) == asked) {
      part.inHardware = (asked & ~situation.carried) == 0  ? InHardware::yes
                        : (asked & situation.carried) == 0 ? InHardware::entryOnly
                                                           : InHardware::partly;
   }
   return part;
}

std::vector<TcamSharingRequest> Situations::leadingTo(PolicyKey const& key) const {
   std::vector<TcamSharingRequest> found;
   // A unit that changed its generation may have left some in the other pipeline.
   for (SharingPipeline const* pipeline : host_.pipelines()) {
      RequestIndex const& index = host_.requestsOf(*pipeline);
      auto const* isem = std::get_if<AradSemKeyAndFap>(&key);
      auto const* mapper = std::get_if<VlanTagToVsiMapperKey>(&key);
      // Nobody but the sub-interface's or tunnel's own requests leads to its entry.
      auto candidates = isem != nullptr ? index.leadingTo(*isem)
                        : mapper != nullptr
                            ? index.of(mapper->fields().subIntfId)
                            : index.of(std::get<TunnelPolicyMapperKey>(key).intfId());
      std::erase_if(candidates, [&](TcamSharingRequest request) {
         auto keys = resolve(host_, request).keys;
         return std::find(keys.begin(), keys.end(), key) == keys.end();
      });
      std::sort(candidates.begin(), candidates.end(), [&](auto a, auto b) {
         return host_.chronicle().placeOf(*pipeline, a) < host_.chronicle().placeOf(*pipeline, b);
      });
      found.insert(found.end(), candidates.begin(), candidates.end());
   }
   return found;
}

std::vector<VlanTagToVsiMapperKey> Situations::mapperKeys(IntfId subIntf) const {
   std::vector<VlanTagToVsiMapperKey> keys;
   std::vector<VlanTagToVsiMapperKey> pending;
   host_.seam().mapper().forEachKeyOf(subIntf, [&](VlanTagToVsiMapperKey key) {
      auto held = host_.seam().mapper().held(key);
      if (held && held->inLifAdditionalData != 0) {
         keys.push_back(key);
      } else if (host_.mapper().common->pendingLifEntriesHas(key)) {
         pending.push_back(key);
      }
   });
   std::sort(keys.begin(), keys.end());
   std::sort(pending.begin(), pending.end(), [this](auto a, auto b) {
      return host_.chronicle().placeOfPending(a) < host_.chronicle().placeOfPending(b);
   });
   keys.insert(keys.end(), pending.begin(), pending.end());
   return keys;
}

Situation Situations::forParts(TcamSharingRequest request) const {
   SharingPipeline const& pipeline = host_.pipelineOf(request);
   TcamSharingPolicyId merged = pipeline.merged->request(request);
   if (merged.empty() || host_.suspects().has(request)) {
      return of(request);
   }
   Situation found;
   found.request = request;
   found.pipeline = &pipeline;
   found.merged = merged;
   found.carried = carriedBits(&pipeline == &host_.isem());
   found.inHardware = true;
   return found;
}

Situation Situations::of(TcamSharingRequest request) const {
   Situation found;
   SharingPipeline const& pipeline = host_.pipelineOf(request);
   found.request = request;
   found.pipeline = &pipeline;
   found.merged = pipeline.merged->request(request);
   found.output = pipeline.output(request);
   found.response = pipeline.mergedStatus->response(request);
   found.times = host_.chronicle().of(pipeline, request);
   found.queued = pipeline.codef->backlog(request);
   if (auto const& clock = pipeline.codef->clockNotifiee(); found.queued && clock.waiting()) {
      found.nextSlice = clock.timeMin();
   }
   found.retried = host_.chronicle().retried(pipeline, request);
   found.resolution = resolve(host_, request);
   found.carried =
       found.resolution.keys.empty()
           ? UINT64_MAX
           : carriedBits(std::holds_alternative<AradSemKeyAndFap>(found.resolution.keys.front()));
   uint64_t unasked = found.merged.value();
   for (Requester requester : requesters) {
      auto held = host_.changes().detours().heldBack(requester, request);
      found.held.insert(found.held.end(), held.begin(), held.end());
      if (host_.isHeldBack(requester, request)) {
         continue;
      }
      found.asked = found.asked || host_.sharing().config(requester)->requestHas(request);
      TcamSharingPolicyId asks = host_.sharing().config(requester)->request(request);
      uint64_t fields = ownFields(host_.world(), requester, request.fapId()) | asks.value();
      TcamSharingPolicyId there(found.merged.value() & fields);
      if (!asks.empty()) {
         unasked &= ~fields;
         if (there != asks) {
            found.overruled.push_back({requester, asks, there});
         }
      }
   }
   found.unasked = TcamSharingPolicyId(unasked);
   Gathering(*this, found).gather();
   return found;
}

} // namespace ShoalHost
