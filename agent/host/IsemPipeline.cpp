#include "agent/host/IsemPipeline.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

IsemPipeline::IsemPipeline(World& world, Orv::Timers& timers,
                           Orv::Ptr<TcamSharingHelper> const& helper)
    : SharingPipeline(world, "isem") {
   outputTable = mounted<TcamSharingConfig>(world, "tcamSharingSemConfigOut");
   table = mounted<SemTableConfig>(world, "isemBTableConfig");
   tableStatus = mounted<SemTableStatus>(world, "isemBTableStatus");
   common = mounted<TcamSharingSemCommon>(world, "tcamSharingSemCommon", name);
   commonBase = common;
   selector = Orv::make<TcamSharingSemSelector>(outputTable);
   buildIntake(world, timers, helper);
   semSm = Orv::make<TcamSharingSemSm>(world.shoalStatus, outputTable, mergedStatus, helper, table,
                                       tableStatus, common);
   // Everything that the merge reads is mounted now.
   merge->handleInitialized();
}

} // namespace Agent
