#include "host/insight/Verdict.h"

#include "host/insight/ChipReason.h"
#include "host/names/Names.h"

#include <algorithm>
#include <limits>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

namespace {

using Role = EntrySituation::Role;

constexpr char const* anotherPolicy = "Asking for another policy writes it again";
constexpr char const* clearing = "chip replay clears it";
constexpr char const* noData = "no policy";
constexpr char const* replay = "chip replay writes it again";

} // namespace

std::string at(Seconds time) {
   return formatted("at {} s", formatSeconds(time));
}

std::optional<TcamSharingRequest> otherWriter(std::optional<uint32_t> writer,
                                              TcamSharingRequest request) {
   return writer && *writer != request.index()
              ? std::optional(TcamSharingRequest::fromIndex(*writer))
              : std::nullopt;
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
   for (auto const& each : is_.held) {
      say("{} asks for {}, which is held back: {}.", requesterName(each.requester),
          formatPolicy(each.policy), each.why);
   }
   for (auto const& each : is_.overruled) {
      say("{} asks for {}, but the merged policy has {} there.", requesterName(each.requester),
          formatPolicy(each.asks), formatPolicy(each.there));
   }
   sayUnasked();
   if (!remedy_.empty()) {
      say("{}{}.", remedy_, waitOf(remedy_));
   }
   return text_;
}

void Verdict::sayNotWanted() {
   if (is_.asked) {
      // A label of 0, say, beside bits that the requester does not own.
      say("What the requesters ask for here leaves no policy.");
   } else if (!is_.held.empty()) {
      // Which is told below.
   } else if (is_.response.status == tcamSharingNone) {
      say("No requester asks for a policy here.");
   } else {
      say("No requester asks for a policy here any more, but the last response "
          "still stands.");
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
      say("It is still recorded at {}, which {} {}.", entry.name, formatRequests(entry.shared),
          entry.shared.size() == 1 ? "uses" : "use");
      return;
   }
   auto const& write = entry.chip.lastWrite;
   // An in-LIF stays, without data; any other entry goes.
   bool isem = std::holds_alternative<AradSemKeyAndFap>(entry.key);
   bool inLif = std::holds_alternative<VlanTagToVsiMapperKey>(entry.key);
   bool clear = !entry.configured || (inLif && entry.configuredRight);
   bool refused =
       clear && write && (write->outcome == Outcome::refused || write->outcome == Outcome::full);
   say("The chip still holds {} at {}{}.", *entry.held, entry.name,
       refused ? ", since it refused to clear it " + at(write->at) : "");
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
      say("Its entry is in hardware, but carries nothing of the policy: {} is beyond the bits "
          "of an entry.",
          left);
   } else {
      say("In hardware, as far as an entry carries it: {} is beyond the bits of an entry.", left);
   }
}

void Verdict::sayUnasked() {
   if (is_.unasked.empty()) {
      return;
   }
   auto owns = [this](Requester requester) {
      uint64_t fields = ownFields(host_.world(), requester, is_.request.fapId());
      return (is_.unasked.value() & ~fields) == 0;
   };
   auto owner = std::find_if(requesters.begin(), requesters.end(), owns);
   std::string until =
       owner == requesters.end()
           ? ""
           : formatted(" until {} asks for something here and withdraws it", requesterName(*owner));
   say("No requester asks for {} any more, but the merged policy keeps it{}.",
       formatPolicy(is_.unasked), until);
}

void Verdict::sayWhere() {
   say("Not in hardware: {}.", reason());
   sayHeldInstead();
}

void Verdict::sayHeldInstead() {
   for (EntrySituation const& entry : is_.entries) {
      bool none = !entry.held || *entry.held == noData;
      // Else the reason has said what the table and the chip carry.
      bool told = entry.held == entry.configured && text_.find(entry.name) != std::string::npos;
      if (entry.role == Role::current && !entry.carries && !none && !told) {
         say("The chip holds {} at {}.", *entry.held, entry.name);
      }
   }
}

std::string Verdict::reason() {
   if (is_.queued) {
      return "it has not been processed yet";
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

// Of the reasons that take a request out of the output, those that hold now.
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
   return formatted("it was taken out{}{}{}",
                    off ? ", since program-in-hw is off" : " of the output",
                    missing.empty() ? "" : "; ", missing);
}

std::string Verdict::reasonOf(EntrySituation const& entry) {
   using Kind = EntryChange::Kind;
   auto const& change = entry.change;
   std::string by =
       change && change->by && *change->by != is_.request ? formatRequest(*change->by) : "";
   if (entry.configuredRight) {
      remedy_ = replay;
      return chipReason(entry.name, entry.chip);
   }
   remedy_ = anotherPolicy;
   if (!entry.configured) {
      if (!change || change->kind == Kind::written || change->kind == Kind::made) {
         return formatted("nothing wrote {}, to which it leads now", entry.name);
      }
      return formatted("{} {} {} {}", by.empty() ? "it" : by,
                       change->kind == Kind::left ? "moved off" : "took out", entry.name,
                       at(change->at));
   }
   if (change && change->kind == Kind::made) {
      auto const& write = entry.chip.lastWrite;
      bool absent = !entry.held && write && write->outcome == Outcome::full;
      return formatted("{} was made again {}, and {}", entry.name, at(change->at),
                       absent ? "the chip refused it, since the unit was full"
                              : "carries nothing until the request is processed again");
   }
   return formatted("{} carries {}{}", entry.name, *entry.configured,
                    by.empty() ? "" : formatted(" for {}, written {}", by, at(change->at)));
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
      say("It waits in the backlog{}.",
          is_.nextSlice ? " for the slice " + at(*is_.nextSlice) : "");
   }
   std::string next = at(is_.pipeline->codef->nextRetry());
   if (!is_.retried.empty() && is_.merged.empty()) {
      say("It leaves the retry list {}.", next);
   } else if (!is_.retried.empty() && !is_.queued) {
      say("It is retried {}{}.", next, is_.resolution.never ? ", without effect" : "");
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
      say("The chip's answer is due {}{}.", at(*awaited.due),
          awaited.writer ? ", to the write for " + formatRequest(*awaited.writer) : "");
   } else if (awaited.heldBack) {
      say("The chip's answer is held back, to be given out of order.");
   } else if (awaited.unknown) {
      say("The chip has not answered the {} of {}.", awaited.removal ? "removal" : "write",
          entry.name);
   } else {
      std::string why;
      if (entry.chip.lost) {
         why = ": an answer for the entry was lost " + at(entry.chip.lost->at);
      }
      if (entry.chip.dropped) {
         why += formatted("{} the chip restarted {} before it answered", why.empty() ? ":" : ";",
                          at(entry.chip.dropped->at));
      }
      say("The {} of {} is not answered, and no answer is on its way{}.",
          awaited.removal ? "removal" : "write", entry.name, why);
   }
}

std::string Verdict::waitOf(std::string const& remedy) const {
   bool replays = remedy == replay;
   if (!replays && remedy != anotherPolicy) {
      return "";
   }
   // Who moves off an entry that another request is recorded for is refused.
   for (EntrySituation const& entry : is_.entries) {
      if (!replays && entry.role == Role::leftBehind && !entry.recorded.empty()) {
         return formatted(" once {} {} withdrawn", formatRequests(entry.recorded),
                          entry.recorded.size() == 1 ? "is" : "are");
      }
   }
   auto const& crowded = replays ? is_.crowdedForReplay : is_.crowded;
   return crowded ? formatted("{} unit {} has room", replays ? ", as far as" : " once",
                              crowded->value())
                  : "";
}

void Verdict::sayAnswer() {
   TcamSharingResponse const& response = is_.response;
   if (is_.answeredSuccess()) {
      if (!is_.inHardware) {
         say("It was answered success {}.", at(is_.times.status.value_or(0.0)));
      }
      return;
   }
   bool ofRemoval = response.policyId.empty();
   std::string policy =
       response.policyId == is_.merged || ofRemoval
           ? ""
           : formatted(" for {}, not for the present policy", formatPolicy(response.policyId));
   std::string counting =
       is_.answersAwaited == 0
           ? ""
           : formatted("; answers that it counts on do not come ({} of them)", is_.answersAwaited);
   ResponseCause const& cause = is_.times.cause;
   switch (response.status) {
   case tcamSharingNone:
      if (!is_.queued && !is_.output.empty() && awaiting() == nullptr) {
         say("It is not answered{}.", counting);
      }
      break;
   case tcamSharingSuccess:
      say("It was answered success for {}, not for the present policy.",
          formatPolicy(response.policyId));
      break;
   case tcamSharingInProgress:
      if (is_.retried.empty() && !is_.queued && awaiting() == nullptr) {
         say("It was answered in progress{}{}.", policy,
             counting.empty() ? ", and waits for nothing" : counting);
      }
      break;
   case tcamSharingFailed: {
      std::string why;
      if (cause.kind == ResponseCause::Kind::restarted) {
         why = " when the chip restarted";
      } else if (cause.key && cause.answer.outcome == Outcome::removed) {
         why = formatted(": {} was removed before it was answered", formatKey(*cause.key));
      } else if (cause.key && cause.answer.outcome == Outcome::accepted) {
         why = ": an earlier answer had failed";
      } else if (cause.key) {
         auto other = otherWriter(cause.answer.writer, is_.request);
         why = formatted(": the chip refused {} {}{}{}", ofRemoval ? "to clear" : "the write of",
                         formatKey(*cause.key), other ? " for " + formatRequest(*other) : "",
                         whyRefused(cause.answer.outcome));
      }
      say("It was answered failed {}{}{}.", at(is_.times.status.value_or(0.0)), policy, why);
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
            if (entry.shared.empty()) {
               say("Its earlier entry {} is still in hardware.", entry.name);
            } else {
               say("It is still recorded at its earlier entry {}, which {} {}.", entry.name,
                   formatRequests(entry.shared), entry.shared.size() == 1 ? "uses" : "use");
            }
         }
      }
   }
   if (left > told) {
      say("More such entries: {}.", left - told);
   }
}

} // namespace ShoalHost
