#include "agent/command/Verdict.h"

#include "agent/command/Names.h"

#include <algorithm>
#include <limits>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

using Role = EntrySituation::Role;

constexpr char const* anotherPolicy = "Asking for another policy writes it again";
constexpr char const* clearing = "chip replay clears it";
constexpr char const* noData = "no policy";
constexpr char const* replay = "chip replay writes it again";

std::string listed(std::vector<TcamSharingRequest> const& requests) {
   std::string text;
   for (TcamSharingRequest request : requests) {
      text += (text.empty() ? "" : ", ") + formatRequest(request);
   }
   return text;
}

} // namespace

std::string at(Seconds time) {
   return "at " + formatSeconds(time) + " s";
}

std::string whyRefused(Outcome outcome) {
   return outcome == Outcome::full ? ", since the unit was full" : "";
}

std::string formatKey(EntryKey const& key) {
   return std::visit([](auto const& each) { return formatKey(each); }, key);
}

std::string Verdict::text() {
   if (is_.merged.empty()) {
      sayNotWanted();
   } else {
      is_.inHardware ? sayInHardware() : sayWhere();
      sayWaiting();
      sayAnswer();
      sayLeftBehind();
   }
   for (auto const& each : is_.overruled) {
      say(std::string(requesterNames[static_cast<std::size_t>(each.requester)]) + " asks for " +
          formatPolicy(each.asks) + ", but the merged policy has " + formatPolicy(each.there) +
          " there.");
   }
   if (!remedy_.empty()) {
      say(remedy_ + waitOf(remedy_) + ".");
   }
   return text_;
}

void Verdict::sayNotWanted() {
   if (is_.asked) {
      // A label of 0, say, beside bits that are not its feature's.
      say("What the features ask for here leaves no policy.");
   } else if (is_.response.status == tcamSharingNone) {
      say("No feature asks for a policy here.");
   } else {
      say("No feature asks for a policy here any more, but the response of the last one still "
          "stands.");
   }
   sayWaiting();
   for (EntrySituation const& entry : is_.entries) {
      if (entry.role == Role::leftBehind && entry.held) {
         sayStillHeld(entry);
      }
   }
   bool waits = is_.queued || !is_.output.empty() || awaiting() != nullptr;
   if (remedy_.empty() && !is_.asked && is_.response.status != tcamSharingNone && !waits &&
       is_.resolution.missing.empty()) {
      remedy_ = "Asking for a policy here and withdrawing it ends that";
   }
}

void Verdict::sayStillHeld(EntrySituation const& entry) {
   if (!entry.shared.empty()) {
      say("It is still recorded at " + entry.name + ", which " + listed(entry.shared) +
          (entry.shared.size() == 1 ? " uses." : " use."));
      return;
   }
   auto const& write = entry.chip.lastWrite;
   // An in-LIF stays, without data; any other entry goes.
   bool isem = std::holds_alternative<AradSemKeyAndFap>(entry.key);
   bool inLif = std::holds_alternative<VlanTagToVsiMapperKey>(entry.key);
   bool clear = !entry.configured || (inLif && entry.configuredRight);
   bool refused =
       clear && write && (write->outcome == Outcome::refused || write->outcome == Outcome::full);
   say("The chip still holds " + *entry.held + " at " + entry.name +
       (refused ? ", since it refused to clear it " + at(write->at) : "") + ".");
   if (clear) {
      remedy_ = clearing;
   } else if (!is_.queued && !entry.awaited && is_.resolution.missing.empty() &&
              isem == (is_.pipeline == &host_.isem())) {
      remedy_ = "Asking for a policy here and withdrawing it clears it";
   }
}

void Verdict::sayInHardware() {
   uint64_t carried = is_.merged.value() & is_.carried;
   uint64_t above = is_.merged.value() & ~is_.carried;
   std::string left = formatPolicy(TcamSharingPolicyId(above));
   if (above == 0) {
      say("In hardware.");
   } else if (carried == 0) {
      say("Its entry is in hardware, but carries nothing of the policy: " + left +
          " is beyond the bits of an entry.");
   } else {
      say("In hardware, as far as an entry carries it: " + left +
          " is beyond the bits of an entry.");
   }
}

void Verdict::sayWhere() {
   say("Not in hardware: " + reason() + ".");
   sayHeldInstead();
}

void Verdict::sayHeldInstead() {
   for (EntrySituation const& entry : is_.entries) {
      bool none = !entry.held || *entry.held == noData;
      // Else the reason has said what the table and the chip carry.
      bool told = entry.held == entry.configured && text_.find(entry.name) != std::string::npos;
      if (entry.role == Role::current && !entry.carries && !none && !told) {
         say("The chip holds " + *entry.held + " at " + entry.name + ".");
      }
   }
}

std::string Verdict::reason() {
   if (is_.queued) {
      return "it is not worked yet";
   }
   if (is_.output.empty()) {
      return takenOut();
   }
   if (!is_.resolution.missing.empty()) {
      remedy_ = is_.resolution.flag ? "program-in-hw on brings it back" : "";
      return is_.resolution.missing;
   }
   if (is_.pipeline != &host_.isem() && (is_.merged.value() & is_.carried) == 0) {
      bool stale = std::any_of(is_.entries.begin(), is_.entries.end(), [](auto const& entry) {
         bool data = entry.held && *entry.held != noData;
         return entry.role == Role::current && entry.configuredRight && !entry.carries && data;
      });
      remedy_ = stale ? clearing : "";
      return "the low 10 bits of the policy, which is all that an in-LIF carries, are 0";
   }
   auto wrong = std::find_if(is_.entries.begin(), is_.entries.end(), [](auto const& entry) {
      return entry.role == Role::current && !entry.carries;
   });
   return reasonOf(*wrong);
}

// What is so now, and would take it out again.
std::string Verdict::takenOut() {
   World const& world = host_.world();
   IntfId intf = is_.request.intfId();
   std::string const& missing = is_.resolution.missing;
   auto status = world.subIntfStatusDir->subIntfStatus(intf);
   bool off = status && !status->programInHw();
   if (!missing.empty() && !is_.resolution.flag) {
      remedy_ = missing == noInternalVlan ? "An internal VLAN brings it back" : "";
   } else if (is_.retried.empty()) {
      remedy_ = off ? "program-in-hw on brings it back" : "Another policy brings it back";
   }
   return (off ? "it was taken out, since program-in-hw is off"
               : std::string("it was taken out of the output")) +
          (missing.empty() ? "" : "; " + missing);
}

std::string Verdict::reasonOf(EntrySituation const& entry) {
   using Kind = EntryChange::Kind;
   auto const& change = entry.change;
   std::string by =
       change && change->by && *change->by != is_.request ? formatRequest(*change->by) : "";
   if (entry.configuredRight) {
      remedy_ = replay;
      auto const& write = entry.chip.lastWrite;
      bool bad = write && (write->outcome == Outcome::refused || write->outcome == Outcome::full);
      std::string refused = bad ? "the chip refused the write of " + entry.name + " " +
                                      at(write->at) + whyRefused(write->outcome)
                                : "";
      if (entry.chip.restarted) {
         return (bad ? refused + ", and" : std::string("the chip")) + " restarted " +
                at(*entry.chip.restarted) + ", and nothing wrote " + entry.name + " since";
      }
      return bad ? refused : "the chip does not hold " + entry.name;
   }
   remedy_ = anotherPolicy;
   if (!entry.configured) {
      std::string removed = change && change->kind == Kind::left ? " moved off " : " took out ";
      if (!change || change->kind == Kind::written || change->kind == Kind::made) {
         return "nothing wrote " + entry.name + ", to which it leads now";
      }
      return (by.empty() ? "it" : by) + removed + entry.name + " " + at(change->at);
   }
   if (change && change->kind == Kind::made) {
      auto const& write = entry.chip.lastWrite;
      bool absent = !entry.held && write && write->outcome == Outcome::full;
      return entry.name + " was made anew " + at(change->at) +
             (absent ? ", and the chip refused it, since the unit was full"
                     : ", and carries nothing until the request is worked again");
   }
   return entry.name + " carries " + *entry.configured +
          (by.empty() ? "" : " for " + by + ", written " + at(change->at));
}

EntrySituation const* Verdict::awaiting() const {
   // Of several members the last answer decides; one that does not come holds up the most.
   EntrySituation const* found = nullptr;
   auto due = [](EntrySituation const* entry) {
      return entry->awaited->due.value_or(std::numeric_limits<Seconds>::infinity());
   };
   for (EntrySituation const& entry : is_.entries) {
      if (entry.awaited && (found == nullptr || due(&entry) > due(found))) {
         found = &entry;
      }
   }
   return found;
}

void Verdict::sayWaiting() {
   if (is_.queued) {
      say("It waits in the backlog" +
          (is_.nextSlice ? " for the slice " + at(*is_.nextSlice) : std::string()) + ".");
   }
   std::string next = at(is_.pipeline->codef->nextRetry());
   if (!is_.retried.empty() && is_.merged.empty()) {
      say("The retry list forgets it " + next + ".");
   } else if (!is_.retried.empty() && !is_.queued) {
      say("It is retried " + next + (is_.resolution.never ? ", to no avail." : "."));
   } else if (!is_.queued && !is_.inHardware && !is_.resolution.missing.empty() &&
              !is_.resolution.never && !is_.merged.empty() && !is_.output.empty()) {
      say("Nothing retries it.");
   }
   if (EntrySituation const* entry = awaiting()) {
      sayAwaited(*entry);
   }
}

void Verdict::sayAwaited(EntrySituation const& entry) {
   Awaited const& awaited = *entry.awaited;
   if (awaited.due) {
      say("The chip's answer is due " + at(*awaited.due) +
          (awaited.writer ? ", to the write for " + formatRequest(*awaited.writer) : "") + ".");
   } else if (awaited.heldBack) {
      say("The chip's answer is held back, to be given out of order.");
   } else {
      std::string why;
      if (entry.chip.lost) {
         why = "an answer for the entry was lost " + at(entry.chip.lost->at);
      }
      if (entry.chip.dropped) {
         why += (why.empty() ? "" : "; ") + std::string("the chip restarted ") +
                at(entry.chip.dropped->at) + " before it answered";
      }
      say((awaited.removal ? "The removal of " : "The write of ") + entry.name +
          " is not answered, and no answer is on its way" + (why.empty() ? "." : ": " + why + "."));
   }
}

std::string Verdict::forWhom(std::optional<uint32_t> writer) const {
   return writer && *writer != is_.request.index()
              ? " for " + formatRequest(TcamSharingRequest::fromIndex(*writer))
              : "";
}

std::string Verdict::waitOf(std::string const& remedy) const {
   bool replays = remedy == replay;
   if (!replays && remedy != anotherPolicy) {
      return "";
   }
   // Who moves off an entry that another request is recorded for is refused.
   for (EntrySituation const& entry : is_.entries) {
      if (!replays && entry.role == Role::leftBehind && !entry.recorded.empty()) {
         return " once " + listed(entry.recorded) +
                (entry.recorded.size() == 1 ? " is withdrawn" : " are withdrawn");
      }
   }
   auto const& crowded = replays ? is_.crowdedForReplay : is_.crowded;
   return !crowded  ? ""
          : replays ? ", as far as unit " + std::to_string(crowded->value()) + " has room"
                    : " once unit " + std::to_string(crowded->value()) + " has room";
}

void Verdict::sayAnswer() {
   TcamSharingResponse const& response = is_.response;
   if (is_.answeredSuccess()) {
      if (!is_.inHardware) {
         say("It was answered success " + at(is_.times.status.value_or(0.0)) + ".");
      }
      return;
   }
   bool clearing = response.policyId.empty();
   std::string policy =
       response.policyId == is_.merged || clearing
           ? ""
           : " for " + formatPolicy(response.policyId) + ", not for the present policy";
   std::string counting;
   if (is_.answersAwaited != 0) {
      counting = "; answers that it counts on do not come (" + std::to_string(is_.answersAwaited) +
                 " of them)";
   }
   ResponseCause const& cause = is_.times.cause;
   switch (response.status) {
   case tcamSharingNone:
      if (!is_.queued && !is_.output.empty() && awaiting() == nullptr) {
         say("It is not answered" + counting + ".");
      }
      break;
   case tcamSharingSuccess:
      say("It was answered success" + policy + ".");
      break;
   case tcamSharingInProgress:
      if (is_.retried.empty() && !is_.queued && awaiting() == nullptr) {
         say("It was answered in progress" + policy +
             (counting.empty() ? ", and waits for nothing." : counting + "."));
      }
      break;
   case tcamSharingFailed: {
      std::string why;
      if (cause.kind == ResponseCause::Kind::restarted) {
         why = " when the chip restarted";
      } else if (cause.key && cause.answer.outcome == Outcome::removed) {
         why = ": " + formatKey(*cause.key) + " was removed before it was answered";
      } else if (cause.key && cause.answer.outcome == Outcome::accepted) {
         why = ": an earlier answer had failed";
      } else if (cause.key) {
         why = (clearing ? ": the chip refused to clear " : ": the chip refused the write of ") +
               formatKey(*cause.key) + forWhom(cause.answer.writer) +
               whyRefused(cause.answer.outcome);
      }
      say("It was answered failed " + at(is_.times.status.value_or(0.0)) + policy + why + ".");
      if (!is_.queued && !is_.output.empty() && is_.resolution.missing.empty() &&
          (is_.pipeline == &host_.isem() || (is_.merged.value() & is_.carried) != 0)) {
         remedy_ = remedy_.empty() ? anotherPolicy : remedy_;
      }
      break;
   }
   }
}

void Verdict::sayLeftBehind() {
   std::size_t told = 0;
   std::size_t left = 0;
   for (EntrySituation const& entry : is_.entries) {
      if (entry.role == Role::leftBehind && entry.held) {
         ++left;
         if (told < 3) {
            ++told;
            say(entry.shared.empty()
                    ? "Its earlier entry " + entry.name + " is still in hardware."
                    : "It is still recorded at its earlier entry " + entry.name + ", which " +
                          listed(entry.shared) + (entry.shared.size() == 1 ? " uses." : " use."));
         }
      }
   }
   if (left > told) {
      say("So are " + std::to_string(left - told) + " more.");
   }
}

} // namespace Agent
