// Runs the event loop until the system is at rest.
//
// Requests that lack something are retried for ever, so a system at rest still has wake-ups. It is
// at rest when no slice is due, no answer is out, and two retry passes left every status as it was.
#pragma once

#include "agent/chip/SimulatedChip.h"
#include "agent/host/Loop.h"
#include "agent/host/SharingPipeline.h"

#include <optional>
#include <vector>

namespace Agent {

class Settling {
 public:
   Settling(Loop& loop, SimulatedChip const& chip, std::vector<SharingPipeline*> pipelines);

   // Something is queued or unanswered.
   bool busy() const;
   // Runs for at most `limit` seconds, but as long as three retry passes take. False when the
   // system still moved then.
   bool settle(Seconds limit);

 private:
   // The next retry pass that every pipeline with something to retry has had; none: nothing to
   // retry.
   std::optional<Seconds> nextPass() const;
   void handleStatus(TcamSharingRequest const&) { ++statusChanges_; }

   Loop& loop_;
   SimulatedChip const& chip_;
   std::vector<SharingPipeline*> pipelines_;
   uint64_t statusChanges_ = 0; // in the merged statuses of all pipelines
   std::vector<std::unique_ptr<Orv::ReactorFor<&Settling::handleStatus>>> statuses_;
};

} // namespace Agent
