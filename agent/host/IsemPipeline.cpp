#include "agent/host/IsemPipeline.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

template<class T>
Orv::Ptr<T> mounted(World& world, std::string const& path) {
   auto entity = Orv::make<T>();
   world.corestate().mount(path, entity);
   return entity;
}

} // namespace

IsemPipeline::IsemPipeline(World& world, Orv::Timers& timers) {
   static constexpr std::array<char const*, kFeatures> sources{"ShoalAcl", "ShoalLumen",
                                                               "ShoalRampart"};
   for (std::size_t i = 0; i < kFeatures; ++i) {
      std::string base = std::string("isem/tcamSharing") + sources[i];
      featureConfig_[i] = mounted<TcamSharingConfig>(world, base + "Config");
      featureStatus_[i] = mounted<TcamSharingStatus>(world, base + "Status");
   }
   merged = mounted<TcamSharingConfig>(world, "isem/tcamSharingMergedConfig");
   mergedStatus = mounted<TcamSharingStatus>(world, "isem/tcamSharingMergedStatus");
   output = mounted<TcamSharingConfig>(world, "isem/tcamSharingSemConfigOut");
   table = mounted<SemTableConfig>(world, "isem/isemBTableConfig");
   tableStatus = mounted<SemTableStatus>(world, "isem/isemBTableStatus");

   helper = Orv::make<TcamSharingHelper>(
       world.scsd, world.shoalStatus, world.vlanDomainStatus, world.subIntfConfigDir,
       world.intfVlanIdTable, world.ethIntfStatusDir, world.portMapHelper,
       world.vlanTagToVsiMapperSm, world.subIntfStatusDir, world.dynSubIntfEncap);
   common = Orv::make<TcamSharingSemCommon>("isem");
   world.corestate().mount("isem/tcamSharingSemCommon", common);
   auto selector = Orv::make<TcamSharingSemSelector>(output);
   merge = Orv::make<TcamSharingMergeSm>(config(Feature::acl), config(Feature::lumen),
                                         config(Feature::rampart), merged, status(Feature::acl),
                                         status(Feature::lumen), status(Feature::rampart),
                                         mergedStatus, world.shoalStatus);
   codef = tcamSharingCodefFactory(
       Orv::make<Orv::Clock>(timers), merged, Orv::make<Orv::Clock>(timers), world.intfVlanIdTable,
       common, world.subIntfDot1qEncapChange, world.shoalStatus, world.subIntfConfigDir,
       world.subIntfStatusDir, helper, selector, mergedStatus);
   semSm = Orv::make<TcamSharingSemSm>(world.shoalStatus, output, mergedStatus, helper, table,
                                       tableStatus, common);
   // Everything that the merge reads is mounted now.
   merge->handleInitialized();
}

} // namespace Agent
