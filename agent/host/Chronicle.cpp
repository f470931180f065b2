#include "agent/host/Chronicle.h"

namespace Agent {

Chronicle::Chronicle(IsemPipeline const& pipeline)
    : pipeline_(pipeline), orvMerged_(this), orvStatus_(this), orvBacklog_(this) {
   pipeline_.merged->requestCollection().watch(orvMerged_);
   pipeline_.mergedStatus->responseCollection().watch(orvStatus_);
   pipeline_.codef->backlogCollection().watch(orvBacklog_);
}

Chronicle::~Chronicle() = default;

void Chronicle::handleMerged(TcamSharingRequest const& request) {
   RequestTimes times = times_.get(request);
   bool there = pipeline_.merged->requestHas(request);
   times.asked = there ? std::optional(Orv::System::currentTime()) : std::nullopt;
   times_.set(request, times);
}

void Chronicle::handleStatus(TcamSharingRequest const& request) {
   RequestTimes times = times_.get(request);
   bool there = pipeline_.mergedStatus->responseHas(request);
   times.status = there ? std::optional(Orv::System::currentTime()) : std::nullopt;
   times_.set(request, times);
}

void Chronicle::handleBacklog(TcamSharingRequest const& request) {
   RequestTimes times = times_.get(request);
   bool there = pipeline_.codef->backlog(request);
   times.queued = there ? std::optional(Orv::System::currentTime()) : std::nullopt;
   times_.set(request, times);
}

} // namespace Agent
