#include "agent/simulate/RequestTruth.h"

#include <algorithm>
#include <functional>

namespace Agent {

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

bool isUnit(std::string const& text, FapId unit) {
   return text == std::to_string(unit.value());
}

std::string inWords(uint64_t policy) {
   return printedPolicy(TcamSharingPolicyId(policy));
}

} // namespace

RequestTruth::RequestTruth(Host const& host, Facts const& facts, Witness const& witness,
                           TcamSharingRequest request)
    : host_(host), facts_(facts), witness_(witness), request_(request),
      pipeline_(host.pipelineOf(request)), isem_(&pipeline_ == &host.isem()),
      policy_(pipeline_.merged->request(request).value()),
      response_(pipeline_.mergedStatus->response(request)),
      queued_(pipeline_.codef->backlog(request)) {
   for (auto const& [entry, waits] : pipeline_.commonBase->retryListIter()) {
      if (waits && entry.request() == request) {
         retried_.push_back(entry);
      }
   }
   findEntries();
}

template<class T>
RequestTruth::Entry RequestTruth::entry(ChipTable<T> const& chip, typename T::Config const& config,
                                        typename T::Key key, uint64_t wanted) const {
   Entry entry;
   entry.key = printedKey(key);
   entry.configured = plain(config.configCollection().find(key));
   entry.wanted = wanted;
   entry.unit = request_.fapId();
   entry.heldBack = chip.isHeldBack(key);
   if (auto held = chip.entries().find(key); held != chip.entries().end()) {
      entry.held = plain(std::optional(held->second));
   }
   for (auto const& answer : chip.unanswered()) {
      if (answer.key == key) {
         entry.due.push_back(answer.due);
      }
   }
   return entry;
}

RequestTruth::Entry RequestTruth::isemEntry(AradSemKeyAndFap key) const {
   Entry found = entry(host_.chip().isem(), *host_.isem().table, key,
                       Facts::payload(TcamSharingPolicyId(policy_)).value);
   found.isem = true;
   if (auto users = host_.isem().common->semToRequest(key)) {
      for (auto const& [user, present] : users->requestIter()) {
         if (present && user != request_) {
            found.users.push_back(printedRequest(user));
         }
      }
   }
   return found;
}

RequestTruth::Entry RequestTruth::mapperEntry(VlanTagToVsiMapperKey key) const {
   Entry found = entry(host_.chip().mapper(), *host_.inLif().mapperConfig, key, policy_ % 1024);
   found.unit = facts_.world().placeOf(key.fields().intfId).fapId;
   return found;
}

RequestTruth::Entry RequestTruth::tunnelEntry() const {
   return entry(host_.chip().tunnels(), *host_.inLif().tunnelConfig,
                TunnelPolicyMapperKey(request_.intfId(), request_.fapId()), policy_ % 1024);
}

std::string RequestTruth::Entry::words(std::optional<uint64_t> data) const {
   uint64_t policy = data.value_or(0) >> (isem ? 3 : 0);
   return !data         ? "no entry"
          : policy != 0 ? inWords(policy)
          : isem        ? "an entry without a policy"
                        : "no policy";
}

void RequestTruth::findEntries() {
   IntfId intf = request_.intfId();
   auto const& fields = intf.fields();
   bool tunnel = fields.kind == Plexus::IntfKind::tunnel;
   auto add = [](std::vector<Entry>& list, Entry entry) {
      if (std::none_of(list.begin(), list.end(),
                       [&](Entry const& other) { return other.key == entry.key; })) {
         list.push_back(std::move(entry));
      }
   };
   auto domain = facts_.domain(intf, request_.fapId());
   auto tags = facts_.tags(request_);
   if (!isem_ && tunnel) {
      add(leads_, tunnelEntry());
   }
   if (isem_ && domain && tags && tags->inner == 0 && request_.fapId().value() <= 128) {
      add(leads_,
          isemEntry(AradSemKeyAndFap(
              {AradSemKeyType::isemTcamSharing_, tags->outer * 256U + *domain}, request_.fapId())));
   }
   if (!isem_ && domain && tags && fields.subIntf) {
      auto parent = IntfId::fromIndex(fields.parentIndex);
      if (auto members = facts_.world().lagPhyIntfMapping->lagPhyIntfConfig(parent)) {
         for (auto const& [port, present] : members->phyIntfIter()) {
            if (present && facts_.world().placeOf(port).fapId == request_.fapId()) {
               add(leads_, mapperEntry(facts_.mapperKey(request_, port)));
            }
         }
      } else if (fields.kind == Plexus::IntfKind::port) {
         add(leads_, mapperEntry(facts_.mapperKey(request_, parent)));
      }
   }
   lacks_ = findLack();
   if (policy_ != 0) {
      wanted_ = leads_;
   }
   auto leave = [&](Entry const& entry) {
      if (byKey(entry.key) == nullptr) {
         add(left_, entry);
      }
   };
   if (host_.isem().common->tcamRequestToIsemKeyMappingHas(request_)) {
      leave(isemEntry(host_.isem().common->tcamRequestToIsemKeyMapping(request_)));
   }
   for (auto const& [key, data] : host_.chip().mapper().entries()) {
      auto const& of = key.fields();
      if (of.subIntfId == intf && data.inLifAdditionalData != 0 &&
          facts_.world().placeOf(of.intfId).fapId == request_.fapId()) {
         leave(mapperEntry(key));
      }
   }
   if (tunnel && tunnelEntry().held.value_or(0) != 0) {
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
   for (auto const& [key, pending] : host_.inLif().common->pendingLifEntriesIter()) {
      if (pending.request() == request_) {
         pending_.push_back(mapperEntry(key));
      }
   }
   for (auto const& [key, pending] : host_.inLif().common->pendingTunnelLifEntriesIter()) {
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
   for (std::size_t i = 0; i < kFeatures; ++i) {
      if (host_.features().config(static_cast<Feature>(i))->requestHas(request_)) {
         return true;
      }
   }
   return false;
}

std::vector<std::string> RequestTruth::overruled() const {
   std::vector<std::string> told;
   for (std::size_t i = 0; i < kFeatures; ++i) {
      auto feature = static_cast<Feature>(i);
      uint64_t asks = host_.features().config(feature)->request(request_).value();
      uint64_t own = feature != Feature::acl          ? Facts::labelBits
                     : facts_.lumen(request_.fapId()) ? Facts::aclBits()
                                                      : ~uint64_t{0};
      // Every bit that it asks for is there, and its fields have no others.
      if (asks != 0 && ((asks & ~policy_) != 0 || (policy_ & own & ~asks) != 0)) {
         told.push_back(std::string(featureNames[i]) + " asks for " + inWords(asks) +
                        ", but the merged policy has " + inWords(policy_ & (own | asks)) +
                        " there");
      }
   }
   return told;
}

bool RequestTruth::sound() const {
   bool over = policy_ == 0 && response_.status == 0 && !asked();
   bool done = inHardware() && response_.status == 1 && response_.policyId.value() == policy_;
   return (over || done) && overruled().empty() &&
          std::none_of(left_.begin(), left_.end(), [](Entry const& entry) { return entry.held; });
}

std::vector<std::string> RequestTruth::untruths(Explanation const& explanation) const {
   std::vector<std::string> found;
   auto require = [&](bool holds, std::string const& what) {
      if (!holds) {
         found.push_back(what);
      }
   };
   std::string text = explanation.verdict;
   require(text.ends_with("."), "no full stop");
   text.pop_back();
   for (std::string const& sentence : split(text, ". ")) {
      require(isSentence(sentence), "untrue: " + sentence);
   }
   std::string key;
   for (auto const& [label, line] : explanation.facts) {
      if (label.ends_with("entry")) {
         key = line.substr(0, line.find(": "));
      }
      require(isFact(label, line) && isEntryEvent(label, line, key),
              "untrue: " + label + ": " + line);
   }
   auto says = [&](char const* words) { return text.find(words) != std::string::npos; };
   for (std::string const& each : overruled()) {
      require(says(each.c_str()), "silent: " + each);
   }
   require(explanation.inHardware == inHardware(), "wrong on hardware");
   require(queued_ == says("waits in the backlog"), "wrong on the backlog");
   require((!retried_.empty() && policy_ != 0 && !queued_) == says("is retried"),
           "wrong on retries");
   for (Entry const& entry : left_) {
      // Each is told; of many only how many more they are.
      bool told =
          says(("The chip still holds " + entry.words(entry.held) + " at " + entry.key).c_str()) ||
          says(("Its earlier entry " + entry.key + " is still in hardware").c_str()) ||
          says(("It is still recorded at " + entry.key).c_str()) ||
          says(("It is still recorded at its earlier entry " + entry.key).c_str()) ||
          (policy_ != 0 && says("So are "));
      require(!entry.held || told, "silent on " + entry.key);
   }
   require(policy_ == 0 || response_.status != 1 || response_.policyId.value() == policy_ ||
               says("not for the present policy"),
           "silent on an older answer");
   require(policy_ == 0 || response_.status != 3 || says("answered failed"), "silent on a failure");
   return found;
}

bool RequestTruth::isSentence(std::string const& sentence) const {
   auto told = overruled();
   return std::find(told.begin(), told.end(), sentence) != told.end() || isWhere(sentence) ||
          isWaiting(sentence) || isAnswer(sentence) || isRemedy(sentence);
}

bool RequestTruth::isWhere(std::string const& sentence) const {
   bool asked = this->asked();
   if (sentence == "No feature asks for a policy here") {
      return !asked && policy_ == 0 && response_.status == 0;
   }
   if (sentence == "No feature asks for a policy here any more, but the response of the last one "
                   "still stands") {
      return !asked && policy_ == 0 && response_.status != 0;
   }
   if (sentence == "What the features ask for here leaves no policy") {
      return asked && policy_ == 0;
   }
   if (sentence == "In hardware") {
      return inHardware() && beyond() == 0;
   }
   if (auto parts = fit(sentence, "In hardware, as far as an entry carries it: % is beyond the "
                                  "bits of an entry")) {
      return inHardware() && beyond() != 0 && beyond() != policy_ &&
             (*parts)[0] == inWords(beyond());
   }
   if (auto parts = fit(sentence, "Its entry is in hardware, but carries nothing of the policy: % "
                                  "is beyond the bits of an entry")) {
      return inHardware() && beyond() == policy_ && (*parts)[0] == inWords(policy_);
   }
   if (auto parts = fit(sentence, "Not in hardware: %")) {
      return !inHardware() && isReason((*parts)[0]);
   }
   return isLeft(sentence);
}

bool RequestTruth::isLeft(std::string const& sentence) const {
   auto held = [&](std::string const& key, auto const& holds) {
      return std::any_of(left_.begin(), left_.end(), [&](Entry const& entry) {
         return entry.key == key && entry.held && holds(entry);
      });
   };
   if (auto parts = fit(sentence, "Its earlier entry % is still in hardware")) {
      return policy_ != 0 &&
             held((*parts)[0], [](Entry const& entry) { return entry.users.empty(); });
   }
   auto recorded = policy_ == 0
                       ? fit(sentence, "It is still recorded at %, which %")
                       : fit(sentence, "It is still recorded at its earlier entry %, which %");
   if (recorded) {
      return held((*recorded)[0],
                  [&](Entry const& entry) { return isUse((*recorded)[1], entry.users); });
   }
   auto refused = fit(sentence, "The chip still holds % at %, since it refused to clear it at %");
   if (auto parts = refused ? refused : fit(sentence, "The chip still holds % at %")) {
      return policy_ == 0 && held((*parts)[1], [&](Entry const& entry) {
                return entry.words(entry.held) == (*parts)[0] && entry.users.empty() &&
                       (!refused ||
                        (entry.configured.value_or(0) == 0 &&
                         (witness_.saw(Witness::Event::refused, entry.key) ||
                          witness_.saw(Witness::Event::full, entry.key) || !entry.due.empty() ||
                          entry.heldBack || witness_.saw(Witness::Event::answerLost, entry.key))));
             });
   }
   if (auto parts = fit(sentence, "So are % more")) {
      return std::to_string(
                 std::count_if(left_.begin(), left_.end(),
                               [](Entry const& entry) { return entry.held.has_value(); }) -
                 3) == (*parts)[0];
   }
   return false;
}

bool RequestTruth::isUse(std::string const& text, std::vector<std::string> const& users) {
   if (users.empty()) {
      return false;
   }
   std::string all;
   for (std::string const& user : users) {
      all += (all.empty() ? "" : ", ") + user;
   }
   return text == all + (users.size() == 1 ? " uses" : " use");
}

bool RequestTruth::isReason(std::string const& reason) const {
   using Event = Witness::Event;
   auto lacking = [&](std::string const& key, auto const& holds) {
      Entry const* entry = byKey(key);
      return entry != nullptr && entry->held != entry->wanted && holds(*entry);
   };
   auto unwritten = [](Entry const& entry) { return entry.configured == entry.wanted; };
   auto absent = [](Entry const& entry) { return !entry.configured; };
   auto other = [](Entry const& entry) {
      return entry.configured && *entry.configured != entry.wanted;
   };
   auto const& flags = facts_.world().subIntfStatusDir;
   bool out = pipeline_.output(request_).empty();
   if (reason == "it is not worked yet") {
      return queued_;
   }
   static constexpr char const* flagOff = "it was taken out, since program-in-hw is off";
   if (reason.starts_with(flagOff)) {
      auto status = flags->subIntfStatus(request_.intfId());
      if (!out || !status || status->programInHw() || (reason == flagOff) == lacks_) {
         return false;
      }
   }
   if (reason == flagOff) {
      return true;
   }
   if (reason == "the low 10 bits of the policy, which is all that an in-LIF carries, are 0") {
      return !isem_ && policy_ % 1024 == 0;
   }
   auto refused = [&](std::string const& text) {
      auto full = fit(text, "the chip refused the write of % at % s, since the unit was full");
      auto parts = full ? full : fit(text, "the chip refused the write of % at % s");
      // The answer comes later, or not at all.
      return parts && lacking((*parts)[0], unwritten) &&
             (witness_.saw(Event::written, (*parts)[0], (*parts)[1]) ||
              witness_.saw(Event::made, (*parts)[0], (*parts)[1]) ||
              witness_.sawReplay((*parts)[1]));
   };
   if (auto parts = fit(reason, "%, and restarted at % s, and nothing wrote % since")) {
      return refused((*parts)[0]) && witness_.sawRestart((*parts)[1]);
   }
   if (auto parts = fit(reason, "the chip restarted at % s, and nothing wrote % since")) {
      return lacking((*parts)[1], unwritten) && witness_.sawRestart((*parts)[0]);
   }
   if (refused(reason)) {
      return true;
   }
   if (auto parts = fit(reason, "nothing wrote %, to which it leads now")) {
      return lacking((*parts)[0], absent) && !witness_.saw(Event::removed, (*parts)[0]);
   }
   if (auto parts = fit(reason, "% took out % at % s")) {
      std::string who = (*parts)[0] == "it" ? printedRequest(request_) : (*parts)[0];
      return lacking((*parts)[1], absent) &&
             witness_.saw(Event::removed, (*parts)[1], (*parts)[2]) &&
             (!isem_ || witness_.sawLeave(who, (*parts)[1], (*parts)[2]));
   }
   if (auto parts = fit(reason, "% moved off % at % s")) {
      std::string who = (*parts)[0] == "it" ? printedRequest(request_) : (*parts)[0];
      return lacking((*parts)[1], absent) &&
             witness_.saw(Event::removed, (*parts)[1], (*parts)[2]) &&
             witness_.sawLeave(who, (*parts)[1], (*parts)[2]);
   }
   if (auto parts =
           fit(reason, "% was made anew at % s, and the chip refused it, since the unit was "
                       "full")) {
      return lacking((*parts)[0], other) && byKey((*parts)[0])->configured == 0 &&
             !byKey((*parts)[0])->held && witness_.saw(Event::made, (*parts)[0], (*parts)[1]);
   }
   if (auto parts = fit(reason, "% was made anew at % s, and carries nothing until the request is "
                                "worked again")) {
      return lacking((*parts)[0], other) && byKey((*parts)[0])->configured == 0 &&
             witness_.saw(Event::made, (*parts)[0], (*parts)[1]);
   }
   auto carries = [&](std::string const& key, std::string const& what) {
      return lacking(key, [&](Entry const& entry) {
         return other(entry) && what == entry.words(entry.configured);
      });
   };
   if (auto parts = fit(reason, "% carries % for %, written at % s")) {
      return carries((*parts)[0], (*parts)[1]) &&
             witness_.saw(Event::written, (*parts)[0], (*parts)[3]) &&
             witness_.sawWorked((*parts)[2], (*parts)[3]);
   }
   if (auto parts = fit(reason, "% carries %"); parts && byKey((*parts)[0]) != nullptr) {
      return carries((*parts)[0], (*parts)[1]);
   }
   // What is missing, behind a word on the output or alone.
   std::string lacked = reason;
   if (auto parts = fit(reason, "it was taken out%; %")) {
      lacked = (*parts)[1];
   } else if (reason == "it was taken out of the output") {
      return out && !lacks_;
   } else if (out) {
      return false;
   }
   auto pieces = split(lacked, "; ");
   return lacks_ &&
          std::all_of(pieces.begin(), pieces.end(), [&](auto const& each) { return isLack(each); });
}

bool RequestTruth::isLack(std::string const& lack) const {
   World const& world = facts_.world();
   IntfId intf = request_.intfId();
   auto const& fields = intf.fields();
   auto parent = fields.subIntf ? IntfId::fromIndex(fields.parentIndex) : intf;
   auto members = world.lagPhyIntfMapping->lagPhyIntfConfig(parent);
   bool noDomain = !facts_.domain(intf, request_.fapId());
   auto vlan = world.intfVlanIdTable->internalVlanIdHas(intf);
   if (auto parts = fit(lack, "unit % is not available")) {
      return isUnit((*parts)[0], request_.fapId()) && !facts_.available(request_.fapId());
   }
   if (auto parts = fit(lack, "% has no member on unit %")) {
      bool any = false;
      for (auto const& [port, place] : world.lagPhyIntfMapping->phyIntfLagIter()) {
         any = any || (place == parent && world.placeOf(port).fapId == request_.fapId());
      }
      return (*parts)[0] == parent.name() && isUnit((*parts)[1], request_.fapId()) && !any;
   }
   if (auto parts = fit(lack, "no VLAN domain for % on unit %")) {
      return (*parts)[0] == parent.name() && noDomain;
   }
   if (auto parts = fit(lack, "% is on no unit")) {
      return (*parts)[0] == parent.name() && world.placeOf(parent).isNull();
   }
   if (auto parts = fit(lack, "% does not exist")) {
      return (*parts)[0] == parent.name() && !members;
   }
   if (auto parts = fit(lack, "unit % is of a type that keeps no VLAN domain for port-channels")) {
      auto type = world.shoalStatus->fapType(request_.fapId());
      return members && type != 1 && type != 2;
   }
   if (lack == "the sub-interface has no encapsulation") {
      return fields.subIntf && world.subIntfConfigDir->subIntfConfigHas(intf) &&
             !facts_.tags(request_);
   }
   if (lack == "the sub-interface was deleted") {
      return fields.subIntf && !world.subIntfConfigDir->subIntfConfigHas(intf);
   }
   if (lack == "the interface has no internal VLAN") {
      return !fields.subIntf && vlan && !facts_.tags(request_);
   }
   static constexpr char const* never = " and has no internal VLAN, which its entry would need";
   if (lack.ends_with(never)) {
      std::string what = lack.substr(0, lack.size() - std::string_view(never).size());
      IntfId lag = world.lagPhyIntfMapping->phyIntfLag(intf);
      bool tunnel = fields.kind == Plexus::IntfKind::tunnel;
      return isem_ && !vlan &&
             (what == intf.name() + " is a tunnel" ? tunnel
              : lag != IntfId() ? what == intf.name() + " is a member of " + lag.name()
                                : what == intf.name() + " is not a routed port");
   }
   if (auto parts = fit(lack, "an ISEM key cannot name unit %")) {
      return isem_ && request_.fapId().value() > 128;
   }
   if (auto parts = fit(lack, "it has two tags (%,%), which the ISEM does not hold, so it is not "
                              "programmed")) {
      auto tags = facts_.tags(request_);
      return isem_ && tags && (*parts)[0] == std::to_string(tags->outer) && tags->inner != 0 &&
             (*parts)[1] == std::to_string(tags->inner);
   }
   if (auto parts = fit(lack, "the sub-interface is not programmed on %")) {
      return !isem_ && std::any_of(leads_.begin(), leads_.end(), [&](Entry const& entry) {
         return !entry.configured &&
                entry.key.find(" on " + (*parts)[0] + ",") != std::string::npos;
      });
   }
   return lack == "on a unit of this type only sub-interfaces and tunnels carry policies" &&
          !isem_ && !fields.subIntf && fields.kind != Plexus::IntfKind::tunnel;
}

} // namespace Agent
