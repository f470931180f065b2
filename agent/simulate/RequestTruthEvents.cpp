// Waits, answers, remedies and events of a request.
#include "agent/simulate/RequestTruth.h"

#include <algorithm>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

std::string inWords(uint64_t policy) {
   return printedPolicy(TcamSharingPolicyId(policy));
}

} // namespace

bool RequestTruth::isWaiting(std::string const& sentence) const {
   using Event = Witness::Event;
   auto const& clock = pipeline_.codef->clockNotifiee();
   auto anyEntry = [&](auto const& holds) {
      return std::any_of(wanted_.begin(), wanted_.end(), holds) ||
             (policy_ == 0 && std::any_of(left_.begin(), left_.end(), holds));
   };
   if (auto parts = fit(sentence, "It waits in the backlog for the slice at % s")) {
      return queued_ && clock.waiting() && (*parts)[0] == printedSeconds(clock.timeMin());
   }
   auto retry = fit(sentence, "It is retried at % s");
   auto vain = fit(sentence, "It is retried at % s, to no avail");
   if (auto parts = vain ? vain : retry) {
      auto tags = facts_.tags(request_);
      bool never = request_.fapId().value() > 128 || (tags && tags->inner != 0) ||
                   !request_.intfId().fields().subIntf;
      return !retried_.empty() && (*parts)[0] == printedSeconds(pipeline_.codef->nextRetry()) &&
             (!vain || (never && lacks()));
   }
   if (auto parts = fit(sentence, "The retry list forgets it at % s")) {
      return policy_ == 0 && !retried_.empty() &&
             (*parts)[0] == printedSeconds(pipeline_.codef->nextRetry());
   }
   if (sentence == "Nothing retries it") {
      return retried_.empty() && !queued_ && lacks();
   }
   if (auto parts = fit(sentence, "The chip's answer is due at % s")) {
      return policy_ == 0 || anyEntry([&](Entry const& entry) {
                return std::any_of(entry.due.begin(), entry.due.end(),
                                   [&](Seconds due) { return printedSeconds(due) == (*parts)[0]; });
             });
   }
   if (sentence == "The chip's answer is held back, to be given out of order") {
      return policy_ == 0 || anyEntry([](Entry const& entry) { return entry.heldBack; });
   }
   for (char const* kind : {"write", "removal"}) {
      std::string head =
          std::string("The ") + kind + " of % is not answered, and no answer is on its way";
      auto why = fit(sentence, head + ": %");
      auto parts = why ? why : fit(sentence, head);
      if (!parts) {
         continue;
      }
      Entry const* entry = byKey((*parts)[0]);
      if (policy_ != 0 && (entry == nullptr || entry->heldBack)) {
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
   using Event = Witness::Event;
   std::string name = printedRequest(request_);
   std::string older = " for " + printedPolicy(response_.policyId) + ", not for the present policy";
   bool past = response_.policyId.value() != policy_;
   if (auto parts = fit(sentence, "It was answered success at % s")) {
      return response_.status == 1 && !past && witness_.sawResponse(name, (*parts)[0]);
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
      return response_.status == 3 && witness_.sawResponse(name, (*parts)[0]) && isFailure(why);
   }
   if (auto parts = fit(sentence, "The chip refused to clear the entry % at % s")) {
      return policy_ == 0 && (witness_.saw(Event::refused, (*parts)[0], (*parts)[1]) ||
                              witness_.saw(Event::full, (*parts)[0], (*parts)[1]));
   }
   return sentence == "It is not answered" && response_.status == 0;
}

bool RequestTruth::isFailure(std::string const& why) const {
   using Event = Witness::Event;
   if (auto parts = fit(why, ": the chip refused the write of %, since the unit was full")) {
      return witness_.saw(Event::full, (*parts)[0]);
   }
   if (auto parts = fit(why, ": the chip refused the write of %")) {
      return witness_.saw(Event::refused, (*parts)[0]);
   }
   if (auto parts = fit(why, ": the chip refused to clear %, since the unit was full")) {
      return witness_.saw(Event::full, (*parts)[0]);
   }
   if (auto parts = fit(why, ": the chip refused to clear %")) {
      return witness_.saw(Event::refused, (*parts)[0]);
   }
   if (auto parts = fit(why, ": % was removed before it was answered")) {
      return witness_.saw(Event::removed, (*parts)[0]);
   }
   return why == ": an earlier answer had failed" || why == " when the chip restarted";
}

bool RequestTruth::isRemedy(std::string const& sentence) const {
   bool out = pipeline_.output(request_).empty();
   if (sentence == "Asking for another policy writes it again") {
      return !lacks() && !out && !queued_;
   }
   if (sentence == "chip replay writes it again") {
      return std::any_of(wanted_.begin(), wanted_.end(), [](Entry const& entry) {
         return entry.configured == entry.wanted && entry.held != entry.wanted;
      });
   }
   if (sentence == "program-in-hw on brings it back") {
      auto status = facts_.world().subIntfStatusDir->subIntfStatus(request_.intfId());
      return out && !lacks() && status && !status->programInHw();
   }
   if (sentence == "An internal VLAN brings it back") {
      return out && lacks() && facts_.available(request_.fapId()) &&
             facts_.world().intfVlanIdTable->internalVlanIdHas(request_.intfId());
   }
   return sentence == "Another policy brings it back" && out && !lacks();
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
         return text.starts_with("for " + printedPolicy(entry.policyId()) + ", ");
      });
   }
   if (label == "response") {
      static constexpr char const* names[] = {"none", "success", "in-progress", "failed"};
      std::string head = names[response_.status];
      if (response_.status == 0) {
         return text == head;
      }
      auto parts = fit(text, head + " for " + printedPolicy(response_.policyId) + " since % s, %");
      return parts && witness_.sawResponse(printedRequest(request_), (*parts)[0]) &&
             isCause((*parts)[1], (*parts)[0]);
   }
   if (label == "output policy") {
      return text == printedPolicy(pipeline_.output(request_));
   }
   if (label == "merged policy") {
      return text.starts_with(inWords(policy_));
   }
   if (label == "missing") {
      auto pieces = split(text, "; ");
      return std::all_of(pieces.begin(), pieces.end(),
                         [&](auto const& each) { return isLack(each); });
   }
   return true; // of an entry, or as the features' tables stand
}

bool RequestTruth::isEntryEvent(std::string const& label, std::string const& text,
                                std::string const& key) const {
   using Event = Witness::Event;
   auto saw = [&](std::initializer_list<Event> events, std::string const& time) {
      return std::any_of(events.begin(), events.end(),
                         [&](Event event) { return witness_.saw(event, key, time); });
   };
   std::string what = text.substr(0, text.rfind(" at "));
   auto parts = fit(text, what + " at % s");
   if (label == "last change") {
      auto cut = text.find(" at ");
      what = text.substr(0, cut);
      std::string time = text.substr(cut + 4, text.find(" s", cut) - cut - 4);
      return what == "written"             ? saw({Event::written}, time)
             : what == "made by its owner" ? saw({Event::made}, time)
                                           : saw({Event::removed}, time);
   }
   if (label == "last write") {
      return parts && (what == "removed" ? saw({Event::removed}, (*parts)[0])
                                         : saw({Event::written, Event::made}, (*parts)[0]) ||
                                               witness_.sawReplay((*parts)[0]));
   }
   if (label == "last answer") {
      // The removal of a status that was not there is silent.
      return parts && (what == "removed" || saw({what == "accepted"      ? Event::accepted
                                                 : what == "in progress" ? Event::inProgress
                                                 : what == "refused"     ? Event::refused
                                                                         : Event::full},
                                                (*parts)[0]));
   }
   auto time = fit(text, "at % s");
   if (label == "answer lost") {
      return time && (saw({Event::answerLost}, (*time)[0]) || witness_.sawReplay((*time)[0]));
   }
   if (label == "chip restarted") {
      return time && witness_.sawRestart((*time)[0]);
   }
   if (label == "answer due") {
      Entry const* entry = byKey(key);
      return policy_ == 0 || (time && entry != nullptr &&
                              std::any_of(entry->due.begin(), entry->due.end(), [&](Seconds due) {
                                 return printedSeconds(due) == (*time)[0];
                              }));
   }
   return true;
}

bool RequestTruth::isEntryFact(std::string const& text) const {
   auto parts = fit(text, "%: table holds %, chip holds %");
   Entry const* entry = parts ? byKey((*parts)[0]) : nullptr;
   if (entry == nullptr) {
      return parts && policy_ == 0;
   }
   auto words = [&](std::optional<uint64_t> data) {
      uint64_t policy = data.value_or(0) >> (isem_ ? 3 : 0);
      return !data         ? "no entry"
             : policy != 0 ? inWords(policy)
             : isem_       ? "an entry without a policy"
                           : "no policy";
   };
   return (*parts)[1] == words(entry->configured) && (*parts)[2] == words(entry->held);
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
   if (auto parts = fit(why, "by the chip's answer for % (%)");
       parts && why.find(") (") != std::string::npos) {
      auto cut = why.rfind(" (");
      std::string head = "by the chip's answer for ";
      std::string key = why.substr(head.size(), cut - head.size());
      std::string outcome = why.substr(cut + 2, why.size() - cut - 3);
      return std::any_of(std::begin(outcomes), std::end(outcomes), [&](auto const& each) {
         return outcome == each.first && witness_.saw(each.second, key);
      });
   }
   return why == "when it was worked"
              ? witness_.sawWorked(printedRequest(request_), time)
              : why == "when the chip restarted" && witness_.sawRestart(time);
}

} // namespace Agent
