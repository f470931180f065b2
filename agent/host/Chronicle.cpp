#include "agent/host/Chronicle.h"

namespace Agent {

struct Chronicle::Watch {
   Watch(Chronicle* owner, SharingPipeline const& of)
       : chronicle(owner), pipeline(of), orvMerged(this), orvStatus(this), orvBacklog(this) {
      pipeline.merged->requestCollection().watch(orvMerged);
      pipeline.mergedStatus->responseCollection().watch(orvStatus);
      pipeline.codef->backlogCollection().watch(orvBacklog);
   }
   void handleMerged(TcamSharingRequest const& request) {
      chronicle->note(request, &RequestTimes::asked, pipeline.merged->requestHas(request));
   }
   void handleStatus(TcamSharingRequest const& request) {
      chronicle->note(request, &RequestTimes::status, pipeline.mergedStatus->responseHas(request));
   }
   void handleBacklog(TcamSharingRequest const& request) {
      chronicle->note(request, &RequestTimes::queued, pipeline.codef->backlog(request));
   }

   Chronicle* chronicle;
   SharingPipeline const& pipeline;
   Orv::ReactorFor<&Watch::handleMerged> orvMerged;
   Orv::ReactorFor<&Watch::handleStatus> orvStatus;
   Orv::ReactorFor<&Watch::handleBacklog> orvBacklog;
};

Chronicle::Chronicle(std::vector<SharingPipeline const*> const& pipelines) {
   for (SharingPipeline const* pipeline : pipelines) {
      watches_.push_back(std::make_unique<Watch>(this, *pipeline));
   }
}

Chronicle::~Chronicle() = default;

void Chronicle::intakesRebuilt() {
   for (auto const& watch : watches_) {
      auto const& backlog = watch->pipeline.codef->backlogCollection();
      if (!watch->orvBacklog.registered()) {
         backlog.watch(watch->orvBacklog);
      }
      for (auto const& [request, queued] : backlog.walk()) {
         watch->handleBacklog(request);
      }
   }
}

void Chronicle::note(TcamSharingRequest const& request, std::optional<Seconds> RequestTimes::*time,
                     bool there) {
   RequestTimes times = times_.get(request);
   times.*time = there ? std::optional(Orv::System::peekTime()) : std::nullopt;
   times_.set(request, times);
}

} // namespace Agent
