// What stands at the entries of a request, and how sound it is.
#include "host/insight/Verdict.h"
#include "simulate/explanations/RequestTruth.h"

#include <algorithm>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

std::optional<uint64_t> plain(std::optional<AradSemPayload> data) {
   return data ? std::optional<uint64_t>(data->value) : std::nullopt;
}
std::optional<uint64_t> plain(std::optional<VlanTagToVsiMapperResult> data) {
   return data ? std::optional(data->inLifAdditionalData) : std::nullopt;
}
std::optional<uint64_t> plain(std::optional<TunnelPolicyMapperResult> data) {
   return data ? std::optional(data->inLifAdditionalData) : std::nullopt;
}

} // namespace

RequestTruth::RequestTruth(AgentHost const& host, Facts const& facts, VlanTagModel const& tags,
                           Witness const& witness, Leads const& leads, TcamSharingRequest request)
    : host_(host), facts_(facts), tags_(tags), witness_(witness), at_(leads), request_(request),
      name_(formatRequest(request)), pipeline_(host.pipelineOf(request)),
      isem_(&pipeline_ == &host.isem()), policy_(pipeline_.merged->request(request).value()),
      response_(pipeline_.mergedStatus->response(request)),
      queued_(pipeline_.codef->backlog(request)) {
   for (auto const& [entry, waits] : pipeline_.commonBase->retryListIter()) {
      if (waits && entry.request() == request) {
         retried_.push_back(entry);
      }
   }
   findEntries();
   findOverruled();
}

template<class T>
RequestTruth::Entry RequestTruth::entry(ChipTable<T> const& chip, typename T::Config const& config,
                                        typename T::Key key, uint64_t wanted) const {
   Entry entry;
   entry.key = formatKey(key);
   entry.configured = plain(config.configCollection().find(key));
   entry.wanted = wanted;
   entry.unit = request_.fapId();
   entry.heldBack = chip.isHeldBack(key);
   if (auto held = chip.entries().find(key); held != chip.entries().end()) {
      entry.held = plain(std::optional(held->second));
   }
   for (auto const& answer : chip.unanswered()) {
      // The mapper and tunnel machines take the first answer for the present data, the ISEM
      // machine takes any.
      bool same = std::is_same_v<T, MapperTable>
                      ? plain(answer.written()).value_or(0) == entry.configured.value_or(0)
                      : plain(answer.written()) == entry.configured;
      bool counts = std::is_same_v<T, IsemTable> ||
                    (same && entry.due.empty() && answer.outcome != Outcome::inProgress);
      if (answer.key == key && counts) {
         entry.due.push_back(answer.due);
      }
   }
   return entry;
}

RequestTruth::Entry RequestTruth::isemEntry(AradSemKeyAndFap key) const {
   Entry found = entry(host_.chip().isem(), *host_.isem().table, key,
                       Facts::payload(TcamSharingPolicyId(policy_)).value);
   found.isem = true;
   found.owned = true;
   if (auto users = host_.isem().common->semToRequest(key)) {
      for (auto const& [user, present] : users->requestIter()) {
         if (present && user != request_) {
            found.recorded.push_back(formatRequest(user));
         }
      }
   }
   found.users = found.recorded;
   addUsers(found, at_.requestsAt(key));
   return found;
}

RequestTruth::Entry RequestTruth::mapperEntry(VlanTagToVsiMapperKey key) const {
   Entry found = entry(host_.chip().mapper(), *host_.mapper().mapperConfig, key, policy_ % 1024);
   found.unit = facts_.world().placeOf(key.fields().intfId).fapId;
   addUsers(found, at_.requestsAt(key));
   return found;
}

RequestTruth::Entry RequestTruth::tunnelEntry() const {
   Entry found = entry(host_.chip().tunnels(), *host_.mapper().tunnelConfig,
                       TunnelPolicyMapperKey(request_.intfId(), request_.fapId()), policy_ % 1024);
   found.owned = true;
   return found;
}

void RequestTruth::addUsers(Entry& entry, std::vector<TcamSharingRequest> const& requests) const {
   for (TcamSharingRequest request : requests) {
      if (request == request_) {
         continue;
      }
      std::string name = formatRequest(request);
      if (std::find(entry.users.begin(), entry.users.end(), name) == entry.users.end()) {
         entry.users.push_back(name);
      }
   }
}

std::string RequestTruth::Entry::words(std::optional<uint64_t> data) const {
   uint64_t policy = data.value_or(0) >> (isem ? 3 : 0);
   return !data         ? "no entry"
          : policy != 0 ? inWords(policy)
          : owned       ? "an entry without a policy"
                        : "no policy";
}

RequestTruth::Entry RequestTruth::entryOf(PolicyKey const& key) const {
   if (auto const* isem = std::get_if<AradSemKeyAndFap>(&key)) {
      return isemEntry(*isem);
   }
   auto const* mapper = std::get_if<VlanTagToVsiMapperKey>(&key);
   return mapper != nullptr ? mapperEntry(*mapper) : tunnelEntry();
}

void RequestTruth::findEntries() {
   for (PolicyKey const& key : at_.keysOf(request_)) {
      leads_.push_back(entryOf(key));
   }
   lacks_ = findLack();
   if (policy_ != 0) {
      wanted_ = leads_;
   }
   auto leave = [&](Entry const& entry) {
      if (byKey(entry.key) == nullptr) {
         left_.push_back(entry);
      }
   };
   if (host_.isem().common->tcamRequestToIsemKeyMappingHas(request_)) {
      leave(isemEntry(host_.isem().common->tcamRequestToIsemKeyMapping(request_)));
   }
   for (VlanTagToVsiMapperKey key : witness_.writtenBy(request_)) {
      auto const& entries = host_.chip().mapper().entries();
      auto held = entries.find(key);
      if (held != entries.end() && held->second.inLifAdditionalData != 0 &&
          key.fields().subIntfId == request_.intfId()) {
         leave(mapperEntry(key));
      }
   }
   if (request_.intfId().fields().kind == Plexus::IntfKind::tunnel && tunnelEntry().held) {
      leave(tunnelEntry());
   }
   findPending();
}

void RequestTruth::findPending() {
   for (auto const& [key, write] : host_.isem().common->pendingSemWriteIter()) {
      for (std::size_t i = 0; i < write->pendingSharingEntrys(); ++i) {
         if (write->pendingSharingEntryQueue()[i].request() == request_) {
            pending_.push_back(isemEntry(key.semKeyAndFap));
         }
      }
   }
   for (auto const& [key, pending] : host_.mapper().common->pendingLifEntriesIter()) {
      if (pending.request() == request_) {
         pending_.push_back(mapperEntry(key));
      }
   }
   for (auto const& [key, pending] : host_.mapper().common->pendingTunnelLifEntriesIter()) {
      if (pending.request() == request_) {
         pending_.push_back(tunnelEntry());
      }
   }
}

RequestTruth::Entry const* RequestTruth::byKey(std::string const& key) const {
   for (auto const* list : {&wanted_, &left_, &pending_}) {
      for (Entry const& entry : *list) {
         if (entry.key == key) {
            return &entry;
         }
      }
   }
   return nullptr;
}

uint64_t RequestTruth::beyond() const {
   return wanted_.empty() ? 0 : policy_ & ~(isem_ ? Facts::aclBits() : 1023);
}

bool RequestTruth::inHardware() const {
   return policy_ != 0 && !wanted_.empty() && (isem_ || policy_ % 1024 != 0) &&
          std::all_of(wanted_.begin(), wanted_.end(),
                      [](Entry const& entry) { return entry.held == entry.wanted; });
}

bool RequestTruth::findLack() const {
   if (!isem_ && request_.intfId().fields().kind == Plexus::IntfKind::tunnel) {
      return false;
   }
   return leads_.empty() || !facts_.available(request_.fapId()) ||
          (!isem_ && std::any_of(leads_.begin(), leads_.end(),
                                 [](Entry const& entry) { return !entry.configured; }));
}

bool RequestTruth::asked() const {
   for (std::size_t i = 0; i < kRequesters; ++i) {
      auto requester = static_cast<Requester>(i);
      if (host_.sharing().config(requester)->requestHas(request_) && !isHeld(requester)) {
         return true;
      }
   }
   return false;
}

void RequestTruth::findOverruled() {
   uint64_t unasked = policy_;
   for (std::size_t i = 0; i < kRequesters; ++i) {
      auto requester = static_cast<Requester>(i);
      uint64_t asks = host_.sharing().config(requester)->request(request_).value();
      uint64_t own = requester != Requester::acl      ? Facts::labelBits
                     : facts_.lumen(request_.fapId()) ? Facts::aclBits()
                                                      : ~uint64_t{0};
      unasked &= asks == 0 || isHeld(requester) ? ~uint64_t{0} : ~(own | asks);
      // Sound: every bit that it asks for is there, and its fields have no other bits.
      if (asks != 0 && !isHeld(requester) &&
          ((asks & ~policy_) != 0 || (policy_ & own & ~asks) != 0)) {
         overruled_.push_back(std::string(requesterNames[i]) + " asks for " + inWords(asks) +
                              ", but the merged policy has " + inWords(policy_ & (own | asks)) +
                              " there");
      }
   }
   if (unasked != 0) {
      // Without the lookup all bits are acl's. With it some are lumen's, and some nobody's.
      auto within = [&](uint64_t own) { return (unasked & ~own) == 0; };
      std::string owner = !facts_.lumen(request_.fapId()) || within(Facts::aclBits()) ? "acl"
                          : within(Facts::labelBits)                                  ? "lumen"
                                                                                      : "";
      unasked_ =
          "No requester asks for " + inWords(unasked) +
          " any more, but the merged policy keeps it" +
          (owner.empty() ? "" : " until " + owner + " asks for something here and withdraws it");
   }
}

bool RequestTruth::sound() const {
   bool over = policy_ == 0 && response_.status == 0 && !asked();
   bool done = inHardware() && response_.status == 1 && response_.policyId.value() == policy_;
   bool held = std::any_of(requesters.begin(), requesters.end(), [this](Requester requester) {
      return !host_.changes().detours().heldBack(requester, request_).empty();
   });
   return (over || done) && overruled_.empty() && unasked_.empty() && !held &&
          std::none_of(left_.begin(), left_.end(), [](Entry const& entry) { return entry.held; });
}

std::string RequestTruth::inWords(uint64_t policy) {
   return formatPolicy(TcamSharingPolicyId(policy));
}

} // namespace Simulate
