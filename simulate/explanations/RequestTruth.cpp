#include "simulate/explanations/RequestTruth.h"

#include <algorithm>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

bool isIn(std::vector<TcamSharingRequest> const& all, TcamSharingRequest request) {
   return std::find(all.begin(), all.end(), request) != all.end();
}

bool isUnit(std::string const& text, FapId unit) {
   return text == std::to_string(unit.value());
}

} // namespace

std::vector<std::string> RequestTruth::untruths(Explanation const& explanation) const {
   std::vector<std::string> found;
   // Nearly all hold: what does not is put into words only then.
   auto require = [&](bool holds, auto const&... what) {
      if (!holds) {
         found.emplace_back((std::string() + ... + what));
      }
   };
   std::string text = explanation.verdict;
   require(text.ends_with("."), "no full stop");
   text.pop_back();
   for (std::string const& sentence : split(text, ". ")) {
      require(isSentence(sentence), "untrue: ", sentence);
   }
   std::string key;
   std::string collision;
   bool shared = false; // an entry of the shared ones is told
   auto endEntry = [&] {
      auto tag = tagAt(key);
      shared |= tag.has_value();
      require(!tag || collision == collisionAt(*tag), "wrong on a collision: ", key);
   };
   for (auto const& [label, line] : explanation.facts) {
      if (label.ends_with("entry")) {
         endEntry();
         key = line.substr(0, line.find(": "));
         collision.clear();
      } else if (label == "tag collision") {
         collision = line;
      }
      require(isFact(label, line) && isEntryEvent(label, line, key), "untrue: ", label, ": ", line);
   }
   endEntry();
   require(shared || collision == collisionAt(tags_.pairOf(request_.intfId())),
           "wrong on a collision of its tag");
   auto says = [&](char const* words) { return text.find(words) != std::string::npos; };
   for (Entry const& entry : wanted_) {
      // What it holds instead.
      bool other = entry.held && entry.held != entry.wanted && (entry.owned || *entry.held != 0);
      require(
          !other ||
              says(("The chip holds " + entry.words(entry.held) + " at " + entry.key).c_str()) ||
              says((entry.key + " carries " + entry.words(entry.held)).c_str()),
          "silent on what is at ", entry.key);
   }
   for (Requester requester : requesters) {
      if (isHeld(requester)) {
         std::string asks(requesterName(requester));
         asks += " asks for " + formatPolicy(host_.sharing().config(requester)->request(request_)) +
                 ", which is held back: ";
         require(says(asks.c_str()), "silent: " + asks);
      }
   }
   auto const waiting = host_.changes().detours().waiting();
   for (Requester requester : requesters) {
      auto last = std::find_if(waiting.rbegin(), waiting.rend(), [&](auto const& change) {
         return change.asks && change.asks->first == requester && isIn(change.requests, request_);
      });
      if (last != waiting.rend() && !last->asks->second.empty()) {
         std::string asks = std::string(requesterName(requester)) + " asks for " +
                            formatPolicy(last->asks->second) + ", which is held back: " + last->why;
         require(says(asks.c_str()), "silent: " + asks);
      }
   }
   for (std::string const& each : overruled_) {
      require(says(each.c_str()), "silent: ", each);
   }
   require(says(unasked_.c_str()), "silent: ", unasked_);
   require(explanation.inHardware == inHardware(), "wrong on hardware");
   require(queued_ == says("waits in the backlog"), "wrong on the backlog");
   require((!retried_.empty() && policy_ != 0 && !queued_) == says("is retried"),
           "wrong on retries");
   for (Entry const& entry : left_) {
      if (!entry.held) {
         continue;
      }
      // Each is told; of many only how many more they are.
      bool told =
          says(("The chip still holds " + entry.words(entry.held) + " at " + entry.key).c_str()) ||
          says(("Its earlier entry " + entry.key + " is still in hardware").c_str()) ||
          says(("It is still recorded at " + entry.key).c_str()) ||
          says(("It is still recorded at its earlier entry " + entry.key).c_str()) ||
          (policy_ != 0 && says("More such entries: "));
      require(told, "silent on ", entry.key);
   }
   require(policy_ == 0 || response_.status != 1 || response_.policyId.value() == policy_ ||
               says("not for the present policy"),
           "silent on an older answer");
   require(policy_ == 0 || response_.status != 3 || says("answered failed"), "silent on a failure");
   return found;
}

bool RequestTruth::isSentence(std::string const& sentence) const {
   return std::find(overruled_.begin(), overruled_.end(), sentence) != overruled_.end() ||
          (sentence == unasked_ && !unasked_.empty()) || isWhere(sentence) || isWaiting(sentence) ||
          isAnswer(sentence) || isRemedy(sentence) || isHeldBack(sentence);
}

bool RequestTruth::isHeld(Requester requester) const {
   TcamSharingPolicyId asks = host_.sharing().config(requester)->request(request_);
   return !asks.empty() && pipeline_.sharing.config(requester)->request(request_) != asks;
}

bool RequestTruth::isHeldBack(std::string const& sentence) const {
   auto parts = fit(sentence, "% asks for %, which is held back: %");
   if (!parts) {
      return false;
   }
   return std::any_of(requesters.begin(), requesters.end(), [&](Requester requester) {
      auto asks = formatPolicy(host_.sharing().config(requester)->request(request_));
      if (waitsToAsk(requester, (*parts)[1], (*parts)[2])) {
         return (*parts)[0] == requesterName(requester);
      }
      // What was refused is in no table.
      bool refused = (*parts)[1] != asks && (*parts)[2].starts_with("unit ");
      return (*parts)[0] == requesterName(requester) && isWhyHeld(requester, (*parts)[2]) &&
             (refused || (isHeld(requester) && (*parts)[1] == asks));
   });
}

bool RequestTruth::waitsToAsk(Requester requester, std::string const& policy,
                              std::string const& why) const {
   auto const waiting = host_.changes().detours().waiting();
   return std::any_of(waiting.begin(), waiting.end(), [&](auto const& change) {
      return isIn(change.requests, request_) && change.asks && change.asks->first == requester &&
             policy == formatPolicy(change.asks->second) && why == change.why;
   });
}

bool RequestTruth::isWhyHeld(Requester requester, std::string const& why) const {
   std::string unit = "unit " + std::to_string(request_.fapId().value()) + " has ";
   bool lumen = facts_.lumen(request_.fapId());
   auto const waiting = host_.changes().detours().waiting();
   if (why == "unit " + std::to_string(request_.fapId().value()) +
                  " is above 128, the last that an ISEM key can name") {
      return isem_ && request_.fapId().value() > 128;
   }
   if (why == unit + "the lumen lookup, where acl cannot ask for the lumen label") {
      return lumen && requester == Requester::acl;
   }
   if (why == unit + "no lumen lookup, so " + std::string(requesterName(requester)) +
                  " cannot ask there (unit UNIT lookup lumen)") {
      return !lumen && requester != Requester::acl;
   }
   // As it was when it was tried last.
   if (auto parts = fit(why, "% would move off the entry %, which % still use%")) {
      return (*parts)[0] == name_;
   }
   return std::any_of(waiting.begin(), waiting.end(), [&](auto const& change) {
      return why == change.what + " is on its way" || why == "it is handed over again";
   });
}

bool RequestTruth::isWhere(std::string const& sentence) const {
   bool asked = this->asked();
   bool held = std::any_of(requesters.begin(), requesters.end(),
                           [this](Requester requester) { return isHeld(requester); });
   if (sentence == "No requester asks for a policy here") {
      return !asked && !held && policy_ == 0 && response_.status == 0;
   }
   if (sentence == "No requester asks for a policy here any more, but the last response "
                   "still stands") {
      return !asked && !held && policy_ == 0 && response_.status != 0;
   }
   if (sentence == "What the requesters ask for here leaves no policy") {
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
   if (auto parts = fit(sentence, "The chip holds % at %")) {
      return std::any_of(wanted_.begin(), wanted_.end(), [&](Entry const& entry) {
         return entry.key == (*parts)[1] && entry.held && entry.held != entry.wanted &&
                entry.words(entry.held) == (*parts)[0];
      });
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
   if (auto parts = fit(sentence, "More such entries: %")) {
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
   if (reason == "it has not been processed yet") {
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
   if (auto key = witness_.notHeld(reason)) {
      return lacking(*key, unwritten);
   }
   if (auto parts = fit(reason, "nothing wrote %, to which it leads now")) {
      return lacking((*parts)[0], absent) && !witness_.saw(Event::removed, (*parts)[0]);
   }
   if (auto parts = fit(reason, "% took out % at % s")) {
      std::string who = (*parts)[0] == "it" ? formatRequest(request_) : (*parts)[0];
      return lacking((*parts)[1], absent) &&
             witness_.saw(Event::removed, (*parts)[1], (*parts)[2]) &&
             (!isem_ || witness_.sawLeave(who, (*parts)[1], (*parts)[2]));
   }
   if (auto parts = fit(reason, "% moved off % at % s")) {
      std::string who = (*parts)[0] == "it" ? formatRequest(request_) : (*parts)[0];
      return lacking((*parts)[1], absent) &&
             witness_.saw(Event::removed, (*parts)[1], (*parts)[2]) &&
             witness_.sawLeave(who, (*parts)[1], (*parts)[2]);
   }
   if (auto parts =
           fit(reason, "% was made again at % s, and the chip refused it, since the unit was "
                       "full")) {
      return lacking((*parts)[0], other) && byKey((*parts)[0])->configured == 0 &&
             !byKey((*parts)[0])->held && witness_.saw(Event::made, (*parts)[0], (*parts)[1]);
   }
   if (auto parts = fit(reason, "% was made again at % s, and carries nothing until the request is "
                                "processed again")) {
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
             witness_.sawProcessed((*parts)[2], (*parts)[3]);
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
   if (auto parts = fit(lack, "no VLAN domain for %, which is on unit %")) {
      return (*parts)[0] == parent.name() && noDomain &&
             isUnit((*parts)[1], world.placeOf(parent).fapId) &&
             world.placeOf(parent).fapId != request_.fapId();
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
   if (lack == "its tags are put aside until it can be withdrawn") {
      return fields.subIntf && !facts_.tags(request_) && world.tagsAreAside(intf);
   }
   if (lack == "the sub-interface has no encapsulation") {
      return fields.subIntf && !world.tagsAreAside(intf) &&
             world.subIntfConfigDir->subIntfConfigHas(intf) && !facts_.tags(request_);
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
   auto status = world.subIntfStatusDir->subIntfStatus(intf);
   bool off = status && !status->programInHw();
   if (auto parts = fit(lack, off ? "the sub-interface is not programmed on %, since program-in-hw "
                                    "is off"
                                  : "the sub-interface is not programmed on %")) {
      return !isem_ && std::any_of(leads_.begin(), leads_.end(), [&](Entry const& entry) {
         return !entry.configured &&
                entry.key.find(" on " + (*parts)[0] + ",") != std::string::npos;
      });
   }
   return lack == "on a unit of this type only sub-interfaces and tunnels carry policies" &&
          !isem_ && !fields.subIntf && fields.kind != Plexus::IntfKind::tunnel;
}

} // namespace Simulate
