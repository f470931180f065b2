#include "agent/host/SharingPipeline.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

FeatureTables::FeatureTables(World& world, std::string const& folder) {
   static constexpr std::array<char const*, kFeatures> sources{"ShoalAcl", "ShoalLumen",
                                                               "ShoalRampart"};
   for (std::size_t i = 0; i < kFeatures; ++i) {
      std::string base = folder + "/tcamSharing" + sources[i];
      config_[i] = Orv::make<TcamSharingConfig>();
      status_[i] = Orv::make<TcamSharingStatus>();
      world.corestate().mount(base + "Config", config_[i]);
      world.corestate().mount(base + "Status", status_[i]);
   }
}

SharingPipeline::SharingPipeline(World& world, std::string folder)
    : name(std::move(folder)), features(world, name) {
   merged = mounted<TcamSharingConfig>(world, "tcamSharingMergedConfig");
   mergedStatus = mounted<TcamSharingStatus>(world, "tcamSharingMergedStatus");
}

SharingPipeline::~SharingPipeline() = default;

void SharingPipeline::buildIntake(World& world, Orv::Timers& timers,
                                  Orv::Ptr<TcamSharingHelper> const& helper) {
   merge = Orv::make<TcamSharingMergeSm>(
       features.config(Feature::acl), features.config(Feature::lumen),
       features.config(Feature::rampart), merged, features.status(Feature::acl),
       features.status(Feature::lumen), features.status(Feature::rampart), mergedStatus,
       world.shoalStatus);
   codef = tcamSharingCodefFactory(
       Orv::make<Orv::Clock>(timers), merged, Orv::make<Orv::Clock>(timers), world.intfVlanIdTable,
       commonBase, world.subIntfDot1qEncapChange, world.shoalStatus, world.subIntfConfigDir,
       world.subIntfStatusDir, helper, selector, mergedStatus);
}

} // namespace Agent
