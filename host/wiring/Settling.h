// Runs the event loop until the system is at rest.
//
// Requests that lack something are retried for ever, so a system at rest still has wake-ups. It is
// at rest when no slice is due, no answer is out, no change is on its way, and two retry passes
// left every status as it was.
#pragma once

#include "host/admission/Detours.h"
#include "host/driver/ChipSeam.h"
#include "host/pipelines/SharingPipeline.h"
#include "host/wiring/Loop.h"

#include <optional>
#include <vector>

namespace ShoalHost {

class Settling {
 public:
   Settling(Loop& loop, ChipSeam const& chip, Detours const& detours,
            std::vector<SharingPipeline*> pipelines);

   // Something is queued or unanswered, or a change is on its way.
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
   ChipSeam const& chip_;
   Detours const& detours_;
   std::vector<SharingPipeline*> pipelines_;
   uint64_t statusChanges_ = 0; // in the merged statuses of all pipelines
   std::vector<std::unique_ptr<Orv::ReactorFor<&Settling::handleStatus>>> statuses_;
};

} // namespace ShoalHost
