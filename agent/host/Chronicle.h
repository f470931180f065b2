// When what happened to each request, for those who ask why it is where it is.
#pragma once

#include "agent/host/SharingPipeline.h"

#include <memory>
#include <optional>
#include <vector>

namespace Agent {

// Seconds of virtual time; none: not (or no longer) so.
struct RequestTimes {
   std::optional<Seconds> asked;  // the merged policy took its present value
   std::optional<Seconds> queued; // in the backlog since
   std::optional<Seconds> status; // the merged response took its present value

   friend bool operator==(RequestTimes const&, RequestTimes const&) = default;
};

class Chronicle {
 public:
   explicit Chronicle(std::vector<SharingPipeline const*> const& pipelines);
   ~Chronicle();
   // The pipelines' intakes were built again: follows the new backlogs.
   void intakesRebuilt();
   RequestTimes of(TcamSharingRequest request) const { return times_.get(request); }

 private:
   struct Watch; // one pipeline's
   void note(TcamSharingRequest const& request, std::optional<Seconds> RequestTimes::*time,
             bool there);

   Orv::KeyedByIndex<TcamSharingRequest, RequestTimes> times_;
   std::vector<std::unique_ptr<Watch>> watches_;
};

} // namespace Agent
