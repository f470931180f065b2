#include "agent/host/InLifPipeline.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

InLifPipeline::InLifPipeline(World& world, Orv::Timers& timers,
                             Orv::Ptr<TcamSharingHelper> const& helper)
    : SharingPipeline(world, timers, helper, "inlif") {
   tagOutput = mounted<TcamSharingConfig>(world, "tcamSharingTagConfigOut");
   tunnelOutput = mounted<TcamSharingConfig>(world, "tcamSharingTunnelConfigOut");
   mapperConfig = world.vtagToVsiConfig;
   mapperStatus = mounted<VlanTagToVsiMapperStatus>(world, "vtagToVsiStatus");
   tunnelConfig = mounted<TunnelPolicyMapperConfig>(world, "tunnelToPolicyConfig");
   tunnelStatus = mounted<TunnelPolicyMapperStatus>(world, "tunnelToPolicyStatus");
   common = mounted<TcamSharingInLifCommon>(world, "tcamSharingInLifCommon", name);
   commonBase = common;
   selector = Orv::make<TcamSharingInLifSelector>(tagOutput, tunnelOutput);
   buildMerge();
   buildIntake();
   buildInLifSm();
   buildTunnelSm();
   // Everything that the merge reads is mounted now.
   merge->handleInitialized();
}

void InLifPipeline::buildInLifSm() {
   inLifSm = tcamSharingInLifSmFactory(world_.shoalStatus, tagOutput, mergedStatus, helper_,
                                       mapperConfig, mapperStatus, common);
}

void InLifPipeline::buildTunnelSm() {
   tunnelSm = tcamSharingTunnelInLifSmFactory(world_.shoalStatus, tunnelOutput, mergedStatus,
                                              helper_, tunnelConfig, tunnelStatus, common);
}

void InLifPipeline::rebuild(Machine machine, Follower* follower) {
   if (machine == Machine::mapper) {
      rebuildOne(inLifSm, machine, follower, [&] { buildInLifSm(); });
   } else if (machine == Machine::tunnel) {
      rebuildOne(tunnelSm, machine, follower, [&] { buildTunnelSm(); });
   } else {
      SharingPipeline::rebuild(machine, follower);
   }
}

} // namespace Agent
