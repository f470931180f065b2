#include "host/pipelines/MapperPipeline.h"

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

MapperPipeline::MapperPipeline(World& world, Orv::Timers& timers,
                               Orv::Ptr<TcamSharingHelper> const& helper)
    : SharingPipeline(world, timers, helper, "mapper") {
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
   buildMapperSm();
   buildTunnelSm();
   // Everything that the merge reads is mounted now.
   merge->handleInitialized();
}

void MapperPipeline::buildMapperSm() {
   mapperSm = tcamSharingInLifSmFactory(world_.shoalStatus, tagOutput, mergedStatus, helper_,
                                        mapperConfig, mapperStatus, common);
}

void MapperPipeline::buildTunnelSm() {
   tunnelSm = tcamSharingTunnelInLifSmFactory(world_.shoalStatus, tunnelOutput, mergedStatus,
                                              helper_, tunnelConfig, tunnelStatus, common);
}

void MapperPipeline::rebuild(Machine machine, Observer* observer) {
   if (machine == Machine::mapper) {
      rebuildOne(mapperSm, machine, observer, [&] { buildMapperSm(); });
   } else if (machine == Machine::tunnel) {
      rebuildOne(tunnelSm, machine, observer, [&] { buildTunnelSm(); });
   } else {
      SharingPipeline::rebuild(machine, observer);
   }
}

} // namespace ShoalHost
