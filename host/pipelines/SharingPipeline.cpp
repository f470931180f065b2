#include "host/pipelines/SharingPipeline.h"

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

SharingTables::SharingTables(World& world, std::string const& folder) {
   static constexpr std::array<char const*, kRequesters> sources{"ShoalAcl", "ShoalLumen",
                                                                 "ShoalRampart"};
   for (std::size_t i = 0; i < kRequesters; ++i) {
      std::string base = folder + "/tcamSharing" + sources[i];
      config_[i] = Orv::make<TcamSharingConfig>();
      status_[i] = Orv::make<TcamSharingStatus>();
      world.corestate.mount(base + "Config", config_[i]);
      world.corestate.mount(base + "Status", status_[i]);
   }
}

SharingPipeline::SharingPipeline(World& world, Orv::Timers& timers,
                                 Orv::Ptr<TcamSharingHelper> helper, std::string folder)
    : name(std::move(folder)), sharing(world, name), world_(world), timers_(timers),
      helper_(std::move(helper)) {
   merged = mounted<TcamSharingConfig>(world, "tcamSharingMergedConfig");
   mergedStatus = mounted<TcamSharingStatus>(world, "tcamSharingMergedStatus");
}

SharingPipeline::~SharingPipeline() = default;

void SharingPipeline::buildMerge() {
   merge = Orv::make<TcamSharingMergeSm>(
       sharing.config(Requester::acl), sharing.config(Requester::lumen),
       sharing.config(Requester::rampart), merged, sharing.status(Requester::acl),
       sharing.status(Requester::lumen), sharing.status(Requester::rampart), mergedStatus,
       world_.shoalStatus);
}

void SharingPipeline::buildIntake() {
   codef = tcamSharingCodefFactory(
       Orv::make<Orv::Clock>(timers_), merged, Orv::make<Orv::Clock>(timers_),
       world_.intfVlanIdTable, commonBase, world_.subIntfDot1qEncapChange, world_.shoalStatus,
       world_.subIntfConfigDir, world_.subIntfStatusDir, helper_, selector, mergedStatus);
}

void SharingPipeline::rebuild(Machine machine, Observer* observer) {
   if (machine == Machine::merge) {
      rebuildOne(merge, machine, observer, [&] {
         buildMerge();
         merge->handleInitialized();
      });
   } else if (machine == Machine::intake) {
      // A new intake starts with the defaults, so it gets the settings of the one before.
      Seconds quantum = codef->backlogQuantum();
      Seconds interval = codef->retryTimeInterval();
      rebuildOne(codef, machine, observer, [&] {
         buildIntake();
         codef->backlogQuantumIs(quantum);
         codef->retryTimeIntervalIs(interval);
      });
   }
}

} // namespace ShoalHost
