// The pipeline of in-LIF features: from the request directories to feature words and responses.
// Beside the sharing pipelines; they have nothing in common but the world.
#pragma once

#include "host/pipelines/Observer.h"
#include "host/world/World.h"
#include "platform/Orv/Dir.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestInputDirSm.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureResponseSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureMergeSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultMappingSm.h"
#include "ShoalTunnel/InLifIntfSm/PortInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/SubIntfInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/VlanInLifIntfSm.h"

namespace ShoalHost {

class FeaturePipeline {
 public:
   explicit FeaturePipeline(World& world);

   // Empties every table that the machines write and builds the machines again, as in a host that
   // starts on the present facts and requests. The tables of the chip follow, when the port map is
   // valid.
   void startFresh();
   // Destroys the machine and builds it again on the same entities. Ignores machines of the other
   // pipelines.
   void rebuild(Machine machine);

   // null for a name that has no request directory.
   Orv::Ptr<Hardware::ShoalTunnel::InLifFeatureRequestDir> directory(std::string const& name) const;

   Orv::Ptr<Orv::Dir> inputDir;
   Orv::Ptr<Hardware::ShoalTunnel::InLifIntfConfig> inLifIntfCfg;
   Orv::Ptr<Hardware::ShoalTunnel::InLifIntfConfig> inLifIntfCfgLagExp;
   Orv::Ptr<Hardware::ShoalTunnel::InLifIntfStatus> inLifIntfStatus;
   Orv::Ptr<Hardware::ShoalTunnel::InLifFeatureStatus> featureStatus;
   Orv::Ptr<Hardware::ShoalTunnel::DefaultLifFeatureConfig> portWords;
   Orv::Ptr<Hardware::ShoalTunnel::DefaultLifFeatureConfig> vlanWords;
   Orv::Ptr<Hardware::ShoalTunnel::DefaultLifFeatureConfig> mergedWords;
   Orv::Ptr<Hardware::ShoalTunnel::SubIntfLifFeatureConfig> subIntfWords;
   // The words of the chip: by place, and by sub-interface and TCAM.
   Orv::Ptr<Hardware::ShoalTunnel::DefaultMappingConfig> defaultMappingConfig;
   Orv::Ptr<Hardware::ShoalTunnel::DefaultMappingStatus> defaultMappingStatus;
   Orv::Ptr<Hardware::ShoalTunnel::SubIntfMappingConfig> subIntfMappingConfig;
   Orv::Ptr<Hardware::ShoalTunnel::SubIntfMappingStatus> subIntfMappingStatus;

 private:
   void build();
   template<class T>
   Orv::Ptr<T> mounted(char const* name) {
      auto entity = Orv::make<T>();
      world_.corestate.mount(std::string("inLifFeatures/") + name, entity);
      return entity;
   }

   World& world_;
   Orv::Ptr<Hardware::ShoalTunnel::InLifFeatureRequestInputDirSm> inputDirSm_;
   Orv::Ptr<Hardware::ShoalTunnel::PortInLifIntfSm> portSm_;
   Orv::Ptr<Hardware::ShoalTunnel::VlanInLifIntfSm> vlanSm_;
   Orv::Ptr<Hardware::ShoalTunnel::SubIntfInLifIntfSm> subIntfSm_;
   Orv::Ptr<Hardware::ShoalTunnel::DefaultLifFeatureMergeSm> mergeSm_;
   Orv::Ptr<Hardware::ShoalTunnel::InLifFeatureResponseSm> responseSm_;
   Orv::Ptr<Hardware::ShoalTunnel::DefaultMappingSm> defaultMappingSm_;
};

} // namespace ShoalHost
