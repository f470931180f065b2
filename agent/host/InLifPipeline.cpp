#include "agent/host/InLifPipeline.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

InLifPipeline::InLifPipeline(World& world, Orv::Timers& timers,
                             Orv::Ptr<TcamSharingHelper> const& helper)
    : SharingPipeline(world, "inlif") {
   tagOutput = mounted<TcamSharingConfig>(world, "tcamSharingTagConfigOut");
   tunnelOutput = mounted<TcamSharingConfig>(world, "tcamSharingTunnelConfigOut");
   mapperConfig = world.vtagToVsiConfig;
   mapperStatus = mounted<VlanTagToVsiMapperStatus>(world, "vtagToVsiStatus");
   tunnelConfig = mounted<TunnelPolicyMapperConfig>(world, "tunnelToPolicyConfig");
   tunnelStatus = mounted<TunnelPolicyMapperStatus>(world, "tunnelToPolicyStatus");
   common = mounted<TcamSharingInLifCommon>(world, "tcamSharingInLifCommon", name);
   commonBase = common;
   selector = Orv::make<TcamSharingInLifSelector>(tagOutput, tunnelOutput);
   buildIntake(world, timers, helper);
   inLifSm = tcamSharingInLifSmFactory(world.shoalStatus, tagOutput, mergedStatus, helper,
                                       mapperConfig, mapperStatus, common);
   tunnelSm = tcamSharingTunnelInLifSmFactory(world.shoalStatus, tunnelOutput, mergedStatus, helper,
                                              tunnelConfig, tunnelStatus, common);
   // Everything that the merge reads is mounted now.
   merge->handleInitialized();
}

} // namespace Agent
