#include "agent/host/Host.h"

#include "agent/command/Registry.h"
#include "platform/Trace/Trace.h"

#include <algorithm>
#include <iostream>

namespace Agent {

Host::Host(Inventory inventory) : orvStatus_(this) {
   Orv::System::timeSourceIs(&time_);
   Trace::textSinkIs(&std::cerr);
   world_ = std::make_unique<World>(std::move(inventory));
   pipeline_ = std::make_unique<IsemPipeline>(*world_, timers_);
   // The driver hears of a write after the machines have recorded it.
   chip_ = std::make_unique<SimulatedChip>(Orv::make<Orv::Clock>(timers_), pipeline_->table,
                                           pipeline_->tableStatus);
   chronicle_ = std::make_unique<Chronicle>(*pipeline_);
   pipeline_->mergedStatus->responseCollection().watch(orvStatus_);
}

Host::~Host() {
   Trace::textSinkIs(nullptr);
   Orv::System::timeSourceIs(nullptr);
}

void Host::handleStatus(TcamSharingRequest const&) {
   ++statusChanges_;
}

void Host::runUntil(Seconds end) {
   while (!timers_.idle() && timers_.next() <= end) {
      time_.advanceTo(timers_.next());
      timers_.runDue();
   }
}

void Host::advance(Seconds seconds) {
   Seconds end = time_.peek() + seconds;
   runUntil(end);
   time_.advanceTo(end);
}

bool Host::busy() const {
   return pipeline_->codef->backlogSize() > 0 || !chip_->unanswered().empty();
}

bool Host::settle(Seconds limit) {
   Seconds end = time_.peek() + limit;
   for (int quietPasses = 0; quietPasses < 2;) {
      while (busy() && !timers_.idle() && timers_.next() <= end) {
         time_.advanceTo(timers_.next());
         timers_.runDue();
      }
      if (busy()) {
         return false;
      }
      if (pipeline_->common->retryLists() == 0) {
         return true;
      }
      uint64_t before = statusChanges_;
      Seconds pass = pipeline_->codef->nextRetry();
      if (pass > end) {
         return false;
      }
      runUntil(pass);
      quietPasses = before == statusChanges_ ? quietPasses + 1 : 0;
   }
   return true;
}

void Host::traceFileIs(std::string const& path) {
   auto file = std::make_unique<std::ofstream>(path);
   if (!*file) {
      throw CommandError("cannot write " + path);
   }
   traceFile_ = std::move(file);
   Trace::textSinkIs(traceFile_.get());
}

} // namespace Agent
