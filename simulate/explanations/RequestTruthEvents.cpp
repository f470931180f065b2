// Waits, answers, remedies and events of a request.
#include "simulate/explanations/RequestTruth.h"

#include <algorithm>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

bool RequestTruth::isWaiting(std::string const& sentence) const {
   using Event = Witness::Event;
   auto const& clock = pipeline_.codef->clockNotifiee();
   auto anyEntry = [&](auto const& holds) {
      return std::any_of(wanted_.begin(), wanted_.end(), holds) ||
             std::any_of(pending_.begin(), pending_.end(), holds);
   };
   if (auto parts = fit(sentence, "It waits in the backlog for the slice at % s")) {
      return queued_ && clock.waiting() && (*parts)[0] == formatSeconds(clock.timeMin());
   }
   auto retry = fit(sentence, "It is retried at % s");
   auto futile = fit(sentence, "It is retried at % s, without effect");
   if (auto parts = futile ? futile : retry) {
      auto tags = facts_.tags(request_);
      bool never = request_.fapId().value() > 128 || (tags && tags->inner != 0) ||
                   !request_.intfId().fields().subIntf;
      return !retried_.empty() && (*parts)[0] == formatSeconds(pipeline_.codef->nextRetry()) &&
             (!futile || (never && lacks_));
   }
   if (auto parts = fit(sentence, "It leaves the retry list at % s")) {
      return policy_ == 0 && !retried_.empty() &&
             (*parts)[0] == formatSeconds(pipeline_.codef->nextRetry());
   }
   if (sentence == "Nothing retries it") {
      return retried_.empty() && !queued_ && lacks_;
   }
   auto other = fit(sentence, "The chip's answer is due at % s, to the write for %");
   if (auto parts = other ? other : fit(sentence, "The chip's answer is due at % s")) {
      return anyEntry([&](Entry const& entry) {
         return std::any_of(entry.due.begin(), entry.due.end(),
                            [&](Seconds due) { return formatSeconds(due) == (*parts)[0]; }) &&
                (!other || witness_.sawWriteFor((*parts)[1], entry.key));
      });
   }
   if (sentence == "The chip's answer is held back, to be given out of order") {
      return anyEntry([](Entry const& entry) { return entry.heldBack; });
   }
   for (char const* kind : {"write", "removal"}) {
      if (!sentence.starts_with("The ") || sentence.find(kind) != 4) {
         continue;
      }
      std::string head =
          std::string("The ") + kind + " of % is not answered, and no answer is on its way";
      auto why = fit(sentence, head + ": %");
      auto parts = why ? why : fit(sentence, head);
      if (!parts) {
         continue;
      }
      Entry const* entry = byKey((*parts)[0]);
      if (entry == nullptr || entry->heldBack) {
         return false;
      }
      for (std::string const& each : why ? split((*parts)[1], "; ") : Parts{}) {
         auto lost = fit(each, "an answer for the entry was lost at % s");
         auto dropped = fit(each, "the chip restarted at % s before it answered");
         if (!(lost && (witness_.saw(Event::answerLost, (*parts)[0], (*lost)[0]) ||
                        witness_.sawReplay((*lost)[0]))) &&
             !(dropped && witness_.sawRestart((*dropped)[0]))) {
            return false;
         }
      }
      return true;
   }
   return false;
}

bool RequestTruth::isAnswer(std::string const& sentence) const {
   if (!sentence.starts_with("It was answered") && !sentence.starts_with("It is not answered")) {
      return false;
   }
   std::string older = " for " + formatPolicy(response_.policyId) + ", not for the present policy";
   bool past = response_.policyId.value() != policy_;
   if (auto parts = fit(sentence, "It was answered success at % s")) {
      return response_.status == 1 && !past && witness_.sawResponse(request_, (*parts)[0]);
   }
   if (sentence == "It was answered success" + older) {
      return response_.status == 1 && past;
   }
   if (sentence ==
       "It was answered in progress" + (past ? older : "") + ", and waits for nothing") {
      return response_.status == 2 && !queued_ && retried_.empty();
   }
   if (auto parts = fit(sentence, "It was answered failed at % s%")) {
      std::string why = (*parts)[1];
      if (past && response_.policyId.empty()) {
         return response_.status == 3 && (why.empty() || isFailure(why));
      }
      if (past && why.starts_with(older)) {
         why.erase(0, older.size());
      } else if (past) {
         return false;
      }
      return response_.status == 3 && witness_.sawResponse(request_, (*parts)[0]) && isFailure(why);
   }
   if (auto parts = fit(sentence, "It is not answered; answers that it counts on do not come (% "
                                  "of them)")) {
      return response_.status == 0 && countsInVain((*parts)[0]);
   }
   if (auto parts = fit(sentence, "It was answered in progress" + (past ? older : "") +
                                      "; answers that it counts on do not come (% of them)")) {
      return response_.status == 2 && countsInVain((*parts)[0]);
   }
   return sentence == "It is not answered" && response_.status == 0;
}

bool RequestTruth::countsInVain(std::string const& count) const {
   TcamSharingEntry entry(request_, TcamSharingPolicyId(policy_));
   auto const& common = *host_.mapper().common;
   for (auto const& [key, pending] : common.pendingLifEntriesIter()) {
      if (pending == entry) {
         return false;
      }
   }
   return count == std::to_string(common.tcamSharingEntryRefCount(entry));
}

bool RequestTruth::isFailure(std::string const& why) const {
   using Event = Witness::Event;
   for (std::string head : {": the chip refused the write of %", ": the chip refused to clear %"}) {
      auto full = fit(why, head + ", since the unit was full");
      if (auto parts = full ? full : fit(why, head)) {
         auto other = fit((*parts)[0], "%) for %");
         std::string key = other ? (*other)[0] + ")" : (*parts)[0];
         return witness_.saw(full ? Event::full : Event::refused, key) &&
                (!other || witness_.sawWriteFor((*other)[1], key));
      }
   }
   if (auto parts = fit(why, ": % was removed before it was answered")) {
      return witness_.saw(Event::removed, (*parts)[0]);
   }
   return why == ": an earlier answer had failed" || why == " when the chip restarted";
}

ChipTableKind RequestTruth::kind() const {
   return isem_                                                         ? ChipTableKind::isem
          : request_.intfId().fields().kind == Plexus::IntfKind::tunnel ? ChipTableKind::tunnel
                                                                        : ChipTableKind::mapper;
}

std::optional<uint64_t> RequestTruth::room(FapId unit) const {
   auto limits = host_.chip().capacities();
   auto limit = limits.find({kind(), unit});
   if (limit == limits.end()) {
      return std::nullopt;
   }
   uint64_t held = kind() == ChipTableKind::mapper ? host_.chip().mapper().entriesOn(unit) : 0;
   for (auto const& [key, data] : host_.chip().isem().entries()) {
      held += kind() == ChipTableKind::isem && key.fapId() == unit ? 1 : 0;
   }
   for (auto const& [key, data] : host_.chip().tunnels().entries()) {
      held += kind() == ChipTableKind::tunnel && key.fapId() == unit ? 1 : 0;
   }
   return limit->second > held ? limit->second - held : 0;
}

uint64_t RequestTruth::missing(FapId unit) const {
   uint64_t count = 0;
   auto const& chip = host_.chip();
   for (auto const& [key, data] : host_.isem().table->configIter()) {
      bool here = kind() == ChipTableKind::isem && key.fapId() == unit;
      count += here && !chip.isem().entries().contains(key) ? 1 : 0;
   }
   for (auto const& [key, data] : host_.mapper().tunnelConfig->configIter()) {
      bool here = kind() == ChipTableKind::tunnel && key.fapId() == unit;
      count += here && !chip.tunnels().entries().contains(key) ? 1 : 0;
   }
   for (auto const& [key, data] : host_.mapper().mapperConfig->configIter()) {
      bool here = kind() == ChipTableKind::mapper &&
                  facts_.world().placeOf(key.fields().intfId).fapId == unit;
      count += here && !chip.mapper().entries().contains(key) ? 1 : 0;
   }
   return count;
}

std::string RequestTruth::waitOf(bool replays) const {
   std::map<FapId, uint64_t> lacking;
   for (Entry const& entry : wanted_) {
      lacking[entry.unit] += entry.held ? 0 : 1;
   }
   uint64_t freed = 0;
   for (Entry const& entry : left_) {
      if (!replays && entry.isem && !entry.recorded.empty()) {
         std::string all;
         for (std::string const& each : entry.recorded) {
            all += (all.empty() ? "" : ", ") + each;
         }
         return " once " + all + (entry.recorded.size() == 1 ? " is" : " are") + " withdrawn";
      }
      freed += entry.isem && isem_ && entry.held && entry.unit == request_.fapId() ? 1 : 0;
   }
   std::string wait;
   for (auto const& [unit, count] : lacking) {
      auto left = room(unit);
      std::string name = "unit " + std::to_string(unit.value()) + " has room";
      if (count != 0 && left && !replays && count > *left + freed) {
         wait = " once " + name;
      } else if (count != 0 && left && replays && missing(unit) > *left) {
         wait = ", as far as " + name;
      }
   }
   return wait;
}

bool RequestTruth::isRemedy(std::string const& text) const {
   bool out = pipeline_.output(request_).empty();
   std::string sentence = text;
   for (char const* writes :
        {"Asking for another policy writes it again", "chip replay writes it again"}) {
      if (text.starts_with(writes)) {
         if (text != writes + waitOf(text.starts_with("chip"))) {
            return false;
         }
         sentence = writes;
      }
   }
   auto flags = facts_.world().subIntfStatusDir->subIntfStatus(request_.intfId());
   bool off = flags && !flags->programInHw();
   if (sentence == "program-in-hw on brings it back") {
      bool onlyEntries = !isem_ && !leads_.empty() && facts_.available(request_.fapId());
      return off && (lacks_ ? onlyEntries : out);
   }
   if (sentence == "Asking for a policy here and withdrawing it ends that") {
      return policy_ == 0 && !asked() && response_.status != 0 && !queued_ && out && !lacks_ &&
             std::none_of(left_.begin(), left_.end(), [](Entry const& entry) {
                return entry.held && entry.users.empty(); // which has a remedy of its own
             });
   }
   if (sentence == "chip replay clears it" && policy_ != 0) {
      return policy_ % 1024 == 0 &&
             std::any_of(wanted_.begin(), wanted_.end(), [](Entry const& entry) {
                return entry.configured == 0U && entry.held.value_or(0) != 0;
             });
   }
   auto leftWith = [&](bool cleared) {
      return policy_ == 0 && std::any_of(left_.begin(), left_.end(), [&](Entry const& entry) {
                bool clear = entry.owned ? !entry.configured : entry.configured.value_or(0) == 0;
                return entry.held && clear == cleared;
             });
   };
   if (sentence == "chip replay clears it") {
      return leftWith(true);
   }
   if (sentence == "Asking for a policy here and withdrawing it clears it") {
      return leftWith(false) && !queued_ && !lacks_;
   }
   if (sentence == "Asking for another policy writes it again") {
      return !lacks_ && !out && !queued_;
   }
   if (sentence == "chip replay writes it again") {
      return std::any_of(wanted_.begin(), wanted_.end(), [](Entry const& entry) {
         return entry.configured == entry.wanted && entry.held != entry.wanted;
      });
   }
   if (sentence == "An internal VLAN brings it back") {
      return out && lacks_ && facts_.available(request_.fapId()) &&
             facts_.world().intfVlanIdTable->internalVlanIdHas(request_.intfId());
   }
   return sentence == "Another policy brings it back" && out && !lacks_;
}

bool RequestTruth::isFact(std::string const& label, std::string const& text) const {
   if (label == "entry" || label == "earlier entry") {
      return isEntryFact(text);
   }
   if (label == "queued") {
      return queued_;
   }
   if (label == "retry list") {
      return std::any_of(retried_.begin(), retried_.end(), [&](TcamSharingEntry const& entry) {
         return text.starts_with("for " + formatPolicy(entry.policyId()) + ", ");
      });
   }
   if (label == "response") {
      static constexpr char const* names[] = {"none", "success", "in-progress", "failed"};
      std::string head = names[response_.status];
      if (response_.status == 0) {
         return text == head;
      }
      auto parts = fit(text, head + " for " + formatPolicy(response_.policyId) + " since % s, %");
      return parts && witness_.sawResponse(request_, (*parts)[0]) &&
             isCause((*parts)[1], (*parts)[0]);
   }
   if (label == "output policy") {
      return text == formatPolicy(pipeline_.output(request_));
   }
   if (label == "merged policy") {
      return text.starts_with(inWords(policy_));
   }
   if (label == "missing") {
      auto pieces = split(text, "; ");
      return std::all_of(pieces.begin(), pieces.end(),
                         [&](auto const& each) { return isLack(each); });
   }
   if (label == "answers awaited") {
      TcamSharingEntry entry(request_, TcamSharingPolicyId(policy_));
      return text == std::to_string(host_.mapper().common->tcamSharingEntryRefCount(entry));
   }
   for (Requester requester : requesters) {
      std::string_view name = requesterName(requester);
      if (label.starts_with(name) && label.substr(name.size()) == " asks") {
         auto const& tables = host_.sharing();
         auto answer = tables.status(requester)->response(request_);
         std::string asks = formatPolicy(tables.config(requester)->request(request_)) + ", status ";
         return text.starts_with(asks) &&
                (answer.status == 0 || text.ends_with(" for " + formatPolicy(answer.policyId)));
      }
   }
   return true; // of an entry
}

bool RequestTruth::isEntryEvent(std::string const& label, std::string const& text,
                                std::string const& key) const {
   using Event = Witness::Event;
   auto saw = [&](std::initializer_list<Event> events, std::string const& time) {
      return std::any_of(events.begin(), events.end(),
                         [&](Event event) { return witness_.saw(event, key, time); });
   };
   if (label == "last change") {
      auto cut = text.find(" at ");
      std::string what = text.substr(0, cut);
      std::string time = text.substr(cut + 4, text.find(" s", cut) - cut - 4);
      return what == "written"             ? saw({Event::written}, time)
             : what == "made by its owner" ? saw({Event::made}, time)
                                           : saw({Event::removed}, time);
   }
   if (label == "last write") {
      std::string what = text.substr(0, text.rfind(" at "));
      auto parts = fit(text, what + " at % s");
      return parts && (what == "removed" ? saw({Event::removed}, (*parts)[0]) ||
                                               witness_.sawAsked(key, (*parts)[0])
                                         : saw({Event::written, Event::made}, (*parts)[0]) ||
                                               witness_.sawReplay((*parts)[0]));
   }
   if (label == "last answer") {
      // The removal of an absent status notifies nobody, so the witness did not see it.
      auto cut = text.find(", to the write for ");
      auto parts = fit(text.substr(0, cut), text.substr(0, text.find(" at ")) + " at % s");
      std::string what = text.substr(0, text.find(" at "));
      if (cut != std::string::npos && !witness_.sawWriteFor(text.substr(cut + 19), key)) {
         return false;
      }
      return parts && (what == "removed" || saw({what == "accepted"      ? Event::accepted
                                                 : what == "in progress" ? Event::inProgress
                                                 : what == "refused"     ? Event::refused
                                                                         : Event::full},
                                                (*parts)[0]));
   }
   if (label == "answer lost") {
      auto time = fit(text, "at % s");
      return time && (saw({Event::answerLost}, (*time)[0]) || witness_.sawReplay((*time)[0]));
   }
   if (label == "chip restarted") {
      auto time = fit(text, "at % s");
      return time && witness_.sawRestart((*time)[0]);
   }
   if (label == "shared with") {
      if (Entry const* own = byKey(key)) {
         return isUse(text + (own->users.size() == 1 ? " uses" : " use"), own->users);
      }
      Entry entry;
      entry.key = key;
      for (auto const& [of, users] : host_.isem().common->semToRequestIter()) {
         if (formatKey(of) == key) {
            entry = isemEntry(of);
         }
      }
      addUsers(entry, at_.requestsAt(key));
      return isUse(text + (entry.users.size() == 1 ? " uses" : " use"), entry.users);
   }
   if (label == "answer due") {
      auto time = fit(text, "at % s");
      Entry const* entry = byKey(key);
      return policy_ == 0 || (time && entry != nullptr &&
                              std::any_of(entry->due.begin(), entry->due.end(), [&](Seconds due) {
                                 return formatSeconds(due) == (*time)[0];
                              }));
   }
   return true;
}

std::optional<VlanTagModel::Pair> RequestTruth::tagAt(std::string const& key) const {
   auto fields = isem_ ? fit(key, "(vlan %, domain %, unit %)") : std::nullopt;
   if (!fields) {
      return std::nullopt;
   }
   auto number = [&](std::size_t at) { return static_cast<uint16_t>(std::stoul((*fields)[at])); };
   return VlanTagModel::Pair{FapId(number(2)), number(0), Hardware::Shoal::VlanDomain(number(1))};
}

std::string RequestTruth::collisionAt(VlanTagModel::Pair const& tag) const {
   std::string text = collisionOf(tags_, tag);
   return text.empty() ? "" : formatTag(tag) + " is " + text;
}

bool RequestTruth::isEntryFact(std::string const& text) const {
   auto parts = fit(text, "%: table holds %, chip holds %");
   Entry const* entry = parts ? byKey((*parts)[0]) : nullptr;
   if (entry == nullptr) {
      return parts && policy_ == 0;
   }
   return (*parts)[1] == entry->words(entry->configured) &&
          (*parts)[2] == entry->words(entry->held);
}

// By whose doing the response is what it is.
bool RequestTruth::isCause(std::string const& why, std::string const& time) const {
   using Event = Witness::Event;
   static std::pair<char const*, Event> const outcomes[] = {
       {"accepted", Event::accepted},
       {"refused", Event::refused},
       {"refused: the unit is full", Event::full},
       {"in progress", Event::inProgress},
       {"removed", Event::gone}};
   static std::string const head = "by the chip's answer for ";
   if (why.starts_with(head)) {
      auto other = why.find(", to the write for ");
      std::string answer = why.substr(0, other);
      auto cut = answer.rfind(" (");
      std::string key = answer.substr(head.size(), cut - head.size());
      std::string outcome = answer.substr(cut + 2, answer.size() - cut - 3);
      if (other != std::string::npos && !witness_.sawWriteFor(why.substr(other + 19), key)) {
         return false;
      }
      return std::any_of(std::begin(outcomes), std::end(outcomes), [&](auto const& each) {
         return outcome == each.first && witness_.saw(each.second, key);
      });
   }
   return why == "when it was processed"
              ? witness_.sawProcessed(request_, time)
              : why == "when the chip restarted" && witness_.sawRestart(time);
}

} // namespace Simulate
