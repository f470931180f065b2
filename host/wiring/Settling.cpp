#include "host/wiring/Settling.h"

#include <algorithm>

namespace ShoalHost {

Settling::Settling(Loop& loop, ChipSeam const& chip, Detours const& detours,
                   std::vector<SharingPipeline*> pipelines)
    : loop_(loop), chip_(chip), detours_(detours), pipelines_(std::move(pipelines)) {
   for (SharingPipeline const* pipeline : pipelines_) {
      statuses_.push_back(std::make_unique<Orv::ReactorFor<&Settling::handleStatus>>(this));
      pipeline->mergedStatus->responseCollection().watch(*statuses_.back());
   }
}

bool Settling::busy() const {
   return chip_.busy() || detours_.busy() ||
          std::any_of(pipelines_.begin(), pipelines_.end(),
                      [](auto* pipeline) { return pipeline->codef->backlogSize() > 0; });
}

std::optional<Seconds> Settling::nextPass() const {
   std::optional<Seconds> pass;
   for (SharingPipeline const* pipeline : pipelines_) {
      if (pipeline->commonBase->retryLists() > 0) {
         pass = std::max(pass.value_or(0.0), pipeline->codef->nextRetry());
      }
   }
   return pass;
}

bool Settling::settle(Seconds limit) {
   for (SharingPipeline const* pipeline : pipelines_) {
      limit = std::max(limit, 3.0 * pipeline->codef->retryTimeInterval());
   }
   Seconds end = loop_.time().peek() + limit;
   auto moves = [&] { return loop_.runWhile([this] { return busy(); }, end); };
   if (moves()) {
      return false;
   }
   for (int quietPasses = 0; quietPasses < 2;) {
      auto pass = nextPass();
      if (!pass) {
         return true;
      }
      if (*pass > end) {
         return false;
      }
      uint64_t before = statusChanges_;
      loop_.runUntil(*pass);
      if (moves()) {
         return false;
      }
      quietPasses = before == statusChanges_ ? quietPasses + 1 : 0;
   }
   return true;
}

} // namespace ShoalHost
