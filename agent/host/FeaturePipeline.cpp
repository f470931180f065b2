#include "agent/host/FeaturePipeline.h"

namespace Agent {

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
   build();
}

void FeaturePipeline::build() {
   inputDirSm_ = inLifFeatureRequestInputDirSmFactory(inputDir, inLifIntfCfg);
   responseSm_ = inLifFeatureResponseSmFactory(inLifIntfStatus, inLifIntfCfg, featureStatus);
   mergeSm_ = Orv::make<DefaultLifFeatureMergeSm>(portWords, vlanWords, mergedWords);
   portSm_ = portInLifIntfSmFactory(inLifIntfCfg, inLifIntfStatus, world_.shoalStatus, portWords,
                                    inLifIntfCfgLagExp, world_.lagPhyIntfMapping, world_.lagConfig,
                                    world_.localPortMapStatus);
   subIntfSm_ =
       subIntfInLifIntfSmFactory(inLifIntfCfg, inLifIntfStatus, world_.shoalStatus, subIntfWords);
   // Behind the port machine, whose spread configuration it reads: at a port map version it then
   // finds that one done.
   vlanSm_ =
       vlanInLifIntfSmFactory(inLifIntfCfg, inLifIntfStatus, world_.shoalStatus, vlanWords,
                              inLifIntfCfgLagExp, world_.lagPhyIntfMapping, world_.untaggedVlanDir);
   // Everything that they read is mounted now.
   portSm_->handleInitialized();
   subIntfSm_->handleInitialized();
   vlanSm_->handleInitialized();
}

void FeaturePipeline::startFresh() {
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

} // namespace Agent
