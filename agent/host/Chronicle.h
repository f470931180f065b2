// When what happened to each request, for those who ask why it is where it is.
#pragma once

#include "agent/host/IsemPipeline.h"

#include <optional>

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
   explicit Chronicle(IsemPipeline const& pipeline);
   ~Chronicle();
   RequestTimes of(TcamSharingRequest request) const { return times_.get(request); }

 private:
   void handleMerged(TcamSharingRequest const& request);
   void handleStatus(TcamSharingRequest const& request);
   void handleBacklog(TcamSharingRequest const& request);

   IsemPipeline const& pipeline_;
   Orv::KeyedByIndex<TcamSharingRequest, RequestTimes> times_;
   Orv::ReactorFor<&Chronicle::handleMerged> orvMerged_;
   Orv::ReactorFor<&Chronicle::handleStatus> orvStatus_;
   Orv::ReactorFor<&Chronicle::handleBacklog> orvBacklog_;
};

} // namespace Agent
