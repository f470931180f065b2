#include "host/pipelines/FeaturePipeline.h"

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

FeaturePipeline::FeaturePipeline(World& world) : world_(world) {
   inputDir = mounted<Orv::Dir>("input");
   inLifIntfCfg = mounted<InLifIntfConfig>("inLifIntfCfg");
   inLifIntfCfgLagExp = mounted<InLifIntfConfig>("inLifIntfCfgLagExp");
   inLifIntfStatus = mounted<InLifIntfStatus>("inLifIntfStatus");
   featureStatus = mounted<InLifFeatureStatus>("inLifFeatureStatus");
   portWords = mounted<DefaultLifFeatureConfig>("defaultPortLifFeatureCfg");
   vlanWords = mounted<DefaultLifFeatureConfig>("defaultVlanLifFeatureCfg");
   mergedWords = mounted<DefaultLifFeatureConfig>("defaultMergedLifFeatureCfg");
   subIntfWords = mounted<SubIntfLifFeatureConfig>("subIntfLifFeatureCfg");
   defaultMappingConfig = mounted<DefaultMappingConfig>("defaultMappingConfig");
   defaultMappingStatus = mounted<DefaultMappingStatus>("defaultMappingStatus");
   subIntfMappingConfig = mounted<SubIntfMappingConfig>("subIntfMappingConfig");
   subIntfMappingStatus = mounted<SubIntfMappingStatus>("subIntfMappingStatus");
   build();
}

void FeaturePipeline::build() {
   // The ports' machine before that of VLANs, which reads the expanded configuration: at a port map
   // version it then finds that one done.
   for (Machine machine : {Machine::featureRequests, Machine::featureResponses,
                           Machine::mergedWords, Machine::portWords, Machine::subInterfaceWords,
                           Machine::vlanWords, Machine::defaultMapping}) {
      rebuild(machine);
   }
}

void FeaturePipeline::rebuild(Machine machine) {
   switch (machine) {
   case Machine::featureRequests:
      inputDirSm_ = nullptr;
      inputDirSm_ = inLifFeatureRequestInputDirSmFactory(inputDir, inLifIntfCfg);
      break;
   case Machine::featureResponses:
      responseSm_ = nullptr;
      responseSm_ = inLifFeatureResponseSmFactory(inLifIntfStatus, inLifIntfCfg, featureStatus);
      break;
   case Machine::portWords:
      portSm_ = nullptr;
      portSm_ = portInLifIntfSmFactory(inLifIntfCfg, inLifIntfStatus, world_.shoalStatus, portWords,
                                       inLifIntfCfgLagExp, world_.lagPhyIntfMapping,
                                       world_.lagConfig, world_.localPortMapStatus);
      // Everything that it reads is mounted.
      portSm_->handleInitialized();
      break;
   case Machine::vlanWords:
      vlanSm_ = nullptr;
      vlanSm_ = vlanInLifIntfSmFactory(inLifIntfCfg, inLifIntfStatus, world_.shoalStatus, vlanWords,
                                       inLifIntfCfgLagExp, world_.lagPhyIntfMapping,
                                       world_.untaggedVlanDir);
      vlanSm_->handleInitialized();
      break;
   case Machine::mergedWords: {
      // The new machine makes the table anew. The chip keeps its words meanwhile.
      bool mapped = defaultMappingSm_ != nullptr;
      defaultMappingSm_ = nullptr;
      mergeSm_ = nullptr;
      mergeSm_ = Orv::make<DefaultLifFeatureMergeSm>(portWords, vlanWords, mergedWords);
      if (mapped) {
         rebuild(Machine::defaultMapping);
      }
      break;
   }
   case Machine::subInterfaceWords:
      subIntfSm_ = nullptr;
      subIntfSm_ = subIntfInLifIntfSmFactory(inLifIntfCfg, inLifIntfStatus, world_.shoalStatus,
                                             subIntfWords);
      subIntfSm_->handleInitialized();
      break;
   case Machine::defaultMapping:
      defaultMappingSm_ = nullptr;
      defaultMappingSm_ = DefaultMappingSmIs(world_.shoalStatus, mergedWords, subIntfWords,
                                             defaultMappingConfig, subIntfMappingConfig);
      break;
   default: // the other pipelines'
      break;
   }
}

void FeaturePipeline::startFresh() {
   defaultMappingSm_ = nullptr; // which would take every word out of the chip
   inputDirSm_ = nullptr;
   vlanSm_ = nullptr;
   subIntfSm_ = nullptr;
   portSm_ = nullptr;
   mergeSm_ = nullptr;
   responseSm_ = nullptr;
   inLifIntfCfg->requestDelAll();
   inLifIntfCfgLagExp->requestDelAll();
   inLifIntfStatus->responseDelAll();
   featureStatus->responseDelAll();
   portWords->lifFeatureAttrDelAll();
   vlanWords->lifFeatureAttrDelAll();
   mergedWords->lifFeatureAttrDelAll();
   subIntfWords->lifFeatureAttrDelAll();
   build();
}

Orv::Ptr<InLifFeatureRequestDir> FeaturePipeline::directory(std::string const& name) const {
   return dynamic_cast<InLifFeatureRequestDir*>(inputDir->entry(name).get());
}

} // namespace ShoalHost
