#include "host/pipelines/IsemPipeline.h"

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

IsemPipeline::IsemPipeline(World& world, Orv::Timers& timers,
                           Orv::Ptr<TcamSharingHelper> const& helper)
    : SharingPipeline(world, timers, helper, "isem") {
   outputTable = mounted<TcamSharingConfig>(world, "tcamSharingSemConfigOut");
   table = mounted<SemTableConfig>(world, "isemBTableConfig");
   tableStatus = mounted<SemTableStatus>(world, "isemBTableStatus");
   common = mounted<TcamSharingSemCommon>(world, "tcamSharingSemCommon", name);
   commonBase = common;
   selector = Orv::make<TcamSharingSemSelector>(outputTable);
   buildMerge();
   buildIntake();
   buildSemSm();
   // Everything that the merge reads is mounted now.
   merge->handleInitialized();
}

void IsemPipeline::buildSemSm() {
   semSm = Orv::make<TcamSharingSemSm>(world_.shoalStatus, outputTable, mergedStatus, helper_,
                                       table, tableStatus, common);
}

void IsemPipeline::rebuild(Machine machine, Observer* observer) {
   if (machine == Machine::isem) {
      rebuildOne(semSm, machine, observer, [&] { buildSemSm(); });
   } else {
      SharingPipeline::rebuild(machine, observer);
   }
}

} // namespace ShoalHost
