// Holds what the agent says of requests and in-LIF features against the tables and the chip: every
// sentence of every explanation, each row of problems, by code that shares nothing with theirs. A
// sentence that is not known here is a finding, too.
#pragma once

#include "simulate/ComparedTable.h"
#include "simulate/explanations/Affected.h"
#include "simulate/explanations/FeatureTruth.h"
#include "simulate/explanations/Leads.h"
#include "simulate/explanations/Witness.h"
#include "simulate/Model.h"

namespace Simulate {

class ExplanationCheck {
 public:
   // From the start of an agent. `model` is up to date at each check.
   ExplanationCheck(AgentHost& host, Model const& model)
       : host_(host), facts_(host.world()), model_(model), witness_(host), affected_(host) {}
   // Of what was touched since the last check, or of everything.
   void check(Findings& findings, Extent extent);
   // A machine of the library goes, and is built again.
   void handleRebuild() { witness_.noteRebuild(); }
   void intakeBuilt(SharingPipeline const& pipeline) { affected_.intakeBuilt(pipeline); }

 private:
   // The chip's limits do not tell of their changes.
   void noteCapacities();
   // `everyRequest`: what no table shows touched them all.
   void checkTouched(Findings& findings, bool everyRequest);
   void checkEvery(Findings& findings);
   // What problems lists, with the text of each row.
   using Listed = std::map<std::string, std::string>;
   Listed listedProblems() const;
   void checkOtherProblems(Findings& findings, Listed const& listed) const;
   // `listed`: null: not asked for, what it is made from is checked.
   void checkRequests(Findings& findings, std::vector<TcamSharingRequest> const& requests,
                      Listed const* listed) const;
   void checkFeatures(Findings& findings, std::vector<InLifFeatureKey> const& features);
   std::vector<InLifFeatureKey> everyFeature() const;

   AgentHost& host_;
   Facts facts_;
   Model const& model_;
   Witness witness_;
   Affected affected_;
   // As the world was at the last check.
   std::optional<Leads> leads_;
   std::optional<FeaturePorts> ports_;
   SimulatedChip::Capacities capacities_;
};

} // namespace Simulate
