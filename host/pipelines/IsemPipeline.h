// The pipeline of arad units, which share through the ISEM: the library's machines, wired and
// started in the order that they rely on.
#pragma once

#include "host/pipelines/SharingPipeline.h"
#include "ShoalTunnel/TcamSharing/TcamSharingSemSm.h"

namespace ShoalHost {

class IsemPipeline : public SharingPipeline {
 public:
   IsemPipeline(World& world, Orv::Timers& timers,
                Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> const& helper);

   void rebuild(Machine machine, Observer* observer) override;

   Orv::Ptr<TcamSharingConfig> outputTable;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingSemCommon> common;
   Orv::Ptr<Hardware::ShoalTunnel::SemTableConfig> table;
   Orv::Ptr<Hardware::ShoalTunnel::SemTableStatus> tableStatus;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingSemSm> semSm;

 private:
   void buildSemSm();
};

} // namespace ShoalHost
