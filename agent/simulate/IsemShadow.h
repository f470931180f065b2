// What the machine of shared entries should have done so far, worked out from the changes that it
// is told of: an account kept beside the machine, which its tables must equal at any time.
//
// It hears of each change before the machine does.
#pragma once

#include "agent/host/IsemPipeline.h"
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
};

class IsemShadow {
 public:
   IsemShadow(IsemPipeline const& pipeline, Facts const& facts, Answers& answers, Probes& probes)
       : pipeline_(pipeline), facts_(facts), answers_(answers), probes_(probes) {}

   void handleOutput(TcamSharingRequest request);
   void handleStatus(AradSemKeyAndFap key);
   // The machine starts on what stands in its output.
   void handleGone();
   void compare(Findings& findings) const;

   bool written(TcamSharingRequest request) const { return mapping_.contains(request); }

 private:
   using WriteKey = std::pair<AradSemKeyAndFap, bool>; // true: written, false: removed
   void remove(TcamSharingRequest request);
   void program(TcamSharingRequest request, TcamSharingPolicyId policy);
   void leave(TcamSharingRequest request, AradSemKeyAndFap key);
   void compareSets(Findings& findings) const;

   IsemPipeline const& pipeline_;
   Facts const& facts_;
   Answers& answers_;
   Probes& probes_;

   std::map<AradSemKeyAndFap, AradSemPayload> config_;
   std::map<TcamSharingRequest, AradSemKeyAndFap> mapping_;
   std::map<AradSemKeyAndFap, std::set<TcamSharingRequest>> users_;
   std::map<WriteKey, std::deque<TcamSharingEntry>> pending_;
};

} // namespace Agent
