// What the machine of shared entries should have done so far, worked out from the changes that it
// is told of: an account kept beside the machine, which its tables must equal at any time.
//
// It hears of each change before the machine does.
#pragma once

#include "agent/host/Host.h"
#include "agent/simulate/Calm.h"
#include "agent/simulate/Facts.h"
#include "agent/simulate/Findings.h"
#include "agent/simulate/Probes.h"

#include <deque>

namespace Agent {

// What the machines of one pipeline write in common.
struct Answers {
   std::map<TcamSharingRequest, TcamSharingResponse> responses;
   // Entries that wait for a retry. The machines add, the intake takes out.
   std::map<TcamSharingEntry, bool> retries;
   // In the output, but its answer was dropped when the intake restarted.
   std::set<TcamSharingRequest> forgotten;
   // Queued to be handed over again when the intake restarted: not any more.
   std::set<TcamSharingRequest> unqueued;

   // Nothing came between the request and the answer that it has: no restart of the intake, no
   // refusal (which stands when a replay brings the entry in all the same).
   bool isPlain(TcamSharingRequest request) const {
      auto response = responses.find(request);
      return !forgotten.contains(request) && !unqueued.contains(request) &&
             (response == responses.end() ||
              response->second.status != Hardware::ShoalTunnel::tcamSharingFailed);
   }
};

class IsemShadow {
 public:
   IsemShadow(Host const& host, Facts const& facts, Answers& answers, Probes& probes)
       : pipeline_(host.isem()), chip_(host.chip().isem()), facts_(facts), answers_(answers),
         probes_(probes) {}

   void handleOutput(TcamSharingRequest request);
   void handleStatus(AradSemKeyAndFap key);
   // The machine starts on what stands in its output.
   void handleGone();
   void compare(Findings& findings) const;

   // What holds once nothing is queued or unanswered, or the rule by which it does not.
   void checkSettled(Findings& findings) const;
   // Nothing but plain programming happened to the request and to the entry that it leads to.
   bool plain(TcamSharingRequest request) const;
   // The entry's only user, when it is plain and still leads there.
   std::optional<TcamSharingRequest> plainUser(AradSemKeyAndFap key) const;

 private:
   using WriteKey = std::pair<AradSemKeyAndFap, bool>; // true: written, false: removed
   // What happened on one entry, for the rules that excuse a promise.
   struct Story {
      std::set<TcamSharingRequest> writers; // who wrote or removed it, or found it as wanted
      TcamSharingRequest lastWriter;        // of those, who changed it last
      bool strayRemoval = false;            // removed by a request that moved on: nobody's answer
      bool strayAnswer = false;             // an answer was not that of the write it completed
   };
   void remove(TcamSharingRequest request);
   void program(TcamSharingRequest request, TcamSharingPolicyId policy);
   void leave(TcamSharingRequest request, AradSemKeyAndFap key);
   void compareSets(Findings& findings) const;
   void checkSuccess(Findings& findings, TcamSharingRequest request,
                     TcamSharingPolicyId policy) const;
   void checkWaiting(Findings& findings, TcamSharingRequest request) const;
   void checkWithdrawn(Findings& findings, TcamSharingRequest request) const;
   // The entry of an unanswered write of the request.
   std::optional<AradSemKeyAndFap> pendingFor(TcamSharingRequest request, bool written) const;
   // Nobody uses the entry any more, and no answer is out: what happened on it is over.
   void maybeForget(AradSemKeyAndFap key);

   IsemPipeline const& pipeline_;
   ChipTable<IsemTable> const& chip_;
   Facts const& facts_;
   Answers& answers_;
   Probes& probes_;

   std::map<AradSemKeyAndFap, AradSemPayload> config_;
   std::map<TcamSharingRequest, AradSemKeyAndFap> mapping_;
   std::map<AradSemKeyAndFap, std::set<TcamSharingRequest>> users_;
   std::map<WriteKey, std::deque<TcamSharingEntry>> pending_;

   std::map<AradSemKeyAndFap, Story> stories_;
   Calm<IsemTable> calm_{chip_};
   // The entry that a request was handed over for last.
   std::map<TcamSharingRequest, AradSemKeyAndFap> standsOn_;
   // Handed over for the last time with two tags.
   std::set<TcamSharingRequest> twoTags_;
   // A write of theirs was answered after they were withdrawn.
   std::set<TcamSharingRequest> late_;
   // A write to an entry that they have left was answered, after the chip lost an answer there.
   std::set<TcamSharingRequest> strayed_;
   // Answered last for an older policy of the same payload.
   std::set<TcamSharingRequest> older_;
   // Handed over last when something was missing.
   std::set<TcamSharingRequest> waiting_;
   // Asked for again when the answer of an earlier removal came, which took its answer.
   std::set<TcamSharingRequest> robbed_;
};

} // namespace Agent
