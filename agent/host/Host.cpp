#include "agent/host/Host.h"

#include "agent/errors/Errors.h"
#include "platform/Trace/Blipline.h"
#include "platform/Trace/Trace.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace Agent {

using namespace Hardware::ShoalTunnel;

Host::Host(Inventory inventory) : orvIsemStatus_(this), orvMapperStatus_(this) {
   activate();
   world_ = std::make_unique<World>(std::move(inventory));
   World& world = *world_;
   helper_ = Orv::make<TcamSharingHelper>(
       world.scsd, world.shoalStatus, world.vlanDomainStatus, world.subIntfConfigDir,
       world.intfVlanIdTable, world.ethIntfStatusDir, world.portMapHelper,
       world.vlanTagToVsiMapperSm, world.subIntfStatusDir, world.dynSubIntfEncap);
   isem_ = std::make_unique<IsemPipeline>(world, timers_, helper_);
   mapper_ = std::make_unique<MapperPipeline>(world, timers_, helper_);
   pipelines_ = {isem_.get(), mapper_.get()};
   router_ = std::make_unique<SharingRouter>(world, *isem_, *mapper_);
   inLifFeatures_ = std::make_unique<FeaturePipeline>(world);
   // The driver hears of a write after the machines have recorded it.
   chip_ = std::make_unique<SimulatedChip>(
       timers_,
       SimulatedChip::Tables{isem_->table, isem_->tableStatus, mapper_->mapperConfig,
                             mapper_->mapperStatus, mapper_->tunnelConfig, mapper_->tunnelStatus},
       [&world](IntfId port) { return world.placeOf(port).fapId; });

   intfToFapIdStatus_ = Orv::make<IntfToFapIdStatus>();
   intfToVlanDomainStatus_ = Orv::make<IntfToVlanDomainStatus>();
   world.corestate().mount("vlan/intfToFapIdStatus", intfToFapIdStatus_);
   world.corestate().mount("vlan/intfToVlanDomainStatus", intfToVlanDomainStatus_);
   buildVlanDomainSm();

   chronicle_ = std::make_unique<Chronicle>(*isem_, *mapper_, *chip_);
   isem_->mergedStatus->responseCollection().watch(orvIsemStatus_);
   mapper_->mergedStatus->responseCollection().watch(orvMapperStatus_);
}

Host::~Host() {
   Trace::textSinkIs(nullptr);
   Orv::System::timeSourceIs(nullptr);
}

void Host::buildVlanDomainSm() {
   vlanDomainSm_ = VlanDomainSmIs(world_->shoalStatus, world_->vlanDomainStatus,
                                  intfToVlanDomainStatus_, intfToFapIdStatus_);
}

void Host::rebuild(Machine machine) {
   if (machine < Machine::vlanDomain) {
      for (SharingPipeline* pipeline : pipelines_) {
         pipeline->rebuild(machine, observer_.get());
      }
      if (machine == Machine::intake) {
         chronicle_->intakesRebuilt();
      }
      return;
   }
   if (machine == Machine::vlanDomain) {
      vlanDomainSm_ = nullptr;
   }
   if (observer_) {
      observer_->handleGone(machine, nullptr);
   }
   if (machine == Machine::vlanDomain) {
      buildVlanDomainSm();
   } else {
      inLifFeatures_->rebuild(machine);
   }
   if (observer_) {
      observer_->handleBuilt(machine, nullptr);
   }
}

void Host::startFeaturesFresh() {
   inLifFeatures_->startFresh();
   if (observer_) {
      observer_->handleFeaturesFresh();
   }
}

void Host::activate() {
   Orv::System::timeSourceIs(&time_);
   Trace::textSinkIs(traceFile_ ? traceFile_.get() : static_cast<std::ostream*>(&std::cerr));
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
   return chip_->busy() || std::any_of(pipelines_.begin(), pipelines_.end(), [](auto* pipeline) {
             return pipeline->codef->backlogSize() > 0;
          });
}

bool Host::settle(Seconds limit) {
   for (SharingPipeline* pipeline : pipelines_) {
      limit = std::max(limit, 3.0 * pipeline->codef->retryTimeInterval());
   }
   Seconds end = time_.peek() + limit;
   auto moves = [&] {
      while (busy() && !timers_.idle() && timers_.next() <= end) {
         time_.advanceTo(timers_.next());
         timers_.runDue();
      }
      return busy();
   };
   if (moves()) {
      return false;
   }
   for (int quietPasses = 0; quietPasses < 2;) {
      // The next pass of every pipeline that has something to retry.
      Seconds pass = -1.0;
      for (SharingPipeline* pipeline : pipelines_) {
         if (pipeline->commonBase->retryLists() > 0) {
            pass = std::max(pass, pipeline->codef->nextRetry());
         }
      }
      if (pass < 0.0) {
         return true;
      }
      uint64_t before = statusChanges_;
      if (pass > end) {
         return false;
      }
      runUntil(pass);
      if (moves()) {
         return false;
      }
      quietPasses = before == statusChanges_ ? quietPasses + 1 : 0;
   }
   return true;
}

void Host::traceFileIs(std::string const& path) {
   if (Trace::Blipline::writes(path)) {
      throw CommandError(path + " is the file of the ring; give the text trace another one");
   }
   auto file = std::make_unique<std::ofstream>(path);
   if (!*file) {
      throw CommandError("cannot write " + path);
   }
   std::string lost = traceFile_ && !traceFile_->flush() ? traceFilePath_ : "";
   traceFile_ = std::move(file);
   traceFilePath_ = path;
   Trace::textSinkIs(traceFile_.get());
   if (!lost.empty()) {
      throw CommandError("cannot write all of " + lost + "; from now on the trace goes to " + path);
   }
}

bool Host::traceFileIsOpen(std::string const& path) const {
   std::error_code none;
   return traceFile_ != nullptr && std::filesystem::equivalent(path, traceFilePath_, none);
}

void Host::flushTraceFile() {
   if (traceFile_) {
      traceFile_->flush();
   }
}

void Host::checkTraceFile() {
   if (traceFile_ && !traceFile_->flush()) {
      throw CommandError("cannot write all of " + traceFilePath_);
   }
}

} // namespace Agent
