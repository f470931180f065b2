#include "host/wiring/Host.h"

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

Host::Host(Inventory inventory, ChipDriver& driver, Time time) : loop_(time) {
   world_ = std::make_unique<World>(std::move(inventory));
   World& world = *world_;
   helper_ = Orv::make<TcamSharingHelper>(
       world.scsd, world.shoalStatus, world.vlanDomainStatus, world.subIntfConfigDir,
       world.intfVlanIdTable, world.ethIntfStatusDir, world.portMapHelper,
       world.vlanTagToVsiMapperSm, world.subIntfStatusDir, world.dynSubIntfEncap);
   isem_ = std::make_unique<IsemPipeline>(world, loop_.timers(), helper_);
   mapper_ = std::make_unique<MapperPipeline>(world, loop_.timers(), helper_);
   pipelines_ = {isem_.get(), mapper_.get()};
   router_ = std::make_unique<SharingRouter>(world, *isem_, *mapper_);
   inLifFeatures_ = std::make_unique<FeaturePipeline>(world);
   // The driver hears of a write after the machines have recorded it.
   seam_ = std::make_unique<ChipSeam>(
       loop_.timers(), driver,
       ChipSeam::Tables{isem_->table, isem_->tableStatus, mapper_->mapperConfig,
                        mapper_->mapperStatus, mapper_->tunnelConfig, mapper_->tunnelStatus,
                        inLifFeatures_->defaultMappingConfig, inLifFeatures_->defaultMappingStatus,
                        inLifFeatures_->subIntfMappingConfig, inLifFeatures_->subIntfMappingStatus},
       [&world](IntfId port) { return world.placeOf(port).fapId; });
   vlanTags_ = std::make_unique<VlanTags>(world, *isem_);
   chronicle_ = std::make_unique<Chronicle>(*isem_, *mapper_, *seam_);
   changes_ = std::make_unique<Changes>(world, *isem_, *mapper_, *router_, *inLifFeatures_,
                                        *vlanTags_, *chronicle_, *seam_, loop_.timers());
   settling_ = std::make_unique<Settling>(loop_, *seam_, changes_->detours(), pipelines_);
   suspects_ = std::make_unique<Suspects>(world, *isem_, *mapper_, *router_, *seam_, *chronicle_,
                                          *changes_);
}

Host::~Host() = default;

void Host::rebuild(Machine machine) {
   changes_->checkRebuild(machine);
   if (machine < Machine::vlanDomain) {
      for (SharingPipeline* pipeline : pipelines_) {
         pipeline->rebuild(machine, observer_.get());
      }
      if (machine == Machine::intake) {
         chronicle_->intakesRebuilt();
         changes_->intakesRebuilt();
      }
      return;
   }
   if (observer_) {
      observer_->handleGone(machine, nullptr);
   }
   if (machine < Machine::featureRequests) {
      vlanTags_->rebuild(machine);
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

} // namespace ShoalHost
