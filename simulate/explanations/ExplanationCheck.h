// Holds what the agent says of requests and in-LIF features against the tables and the chip: every
// sentence of every explanation, each row of problems, by code that shares nothing with theirs. A
// sentence that is not known here is a finding, too.
#pragma once

#include "simulate/explanations/Witness.h"
#include "simulate/Facts.h"
#include "simulate/Findings.h"

namespace Simulate {

class ExplanationCheck {
 public:
   // From the start of an agent.
   explicit ExplanationCheck(AgentHost& host) : host_(host), facts_(host.world()), witness_(host) {}
   void check(Findings& findings) const;
   // A machine of the library goes, and is built again.
   void handleRebuild() { witness_.noteRebuild(); }

 private:
   void checkFeatures(Findings& findings) const;

   AgentHost& host_;
   Facts facts_;
   mutable Witness witness_;
};

} // namespace Simulate
