#include "simulate/Recorder.h"

namespace Simulate {

using namespace Hardware::ShoalTunnel;

Recorder::Recorder(AgentHost& host, Model& model) : host_(host), model_(model) {
   watchRequesters();
   watchSlices();
   watchChip();
   watchWorld();
   watchVlanTags();
   watchFeatures();
   watchPlaces();
}

void Recorder::watchRequesters() {
   // As the pipelines are asked: what is held back is not.
   for (SharingPipeline* pipeline : host_.pipelines()) {
      for (Requester requester : requesters) {
         auto const& config = pipeline->sharing.config(requester);
         watchers_.watch<TcamSharingRequest>(
             config->requestCollection(), [=, this](TcamSharingRequest const& request) {
                modelOf(pipeline).asked(requester, request, config->request(request));
             });
      }
   }
}

void Recorder::watchSlices() {
   for (SharingPipeline* pipeline : host_.pipelines()) {
      watchBacklog(*pipeline);
      watchers_.watch<TcamSharingEntry>(pipeline->commonBase->retryListCollection(),
                                        [this, pipeline](TcamSharingEntry const& entry) {
                                           bool dropped = host_.changes().detours().moving() ==
                                                          entry.request();
                                           if (dropped) {
                                              modelOf(pipeline).retryDropped(entry);
                                           } else if (!pipeline->commonBase->retryList(entry)) {
                                              modelOf(pipeline).retryTaken(entry);
                                           }
                                        });
   }
}

void Recorder::watchBacklog(SharingPipeline& pipeline) {
   auto watcher = std::make_unique<Watcher<TcamSharingRequest>>(
       [this, &pipeline](TcamSharingRequest const& request) {
          if (!pipeline.codef->backlog(request)) {
             modelOf(&pipeline).processed(request);
          } else if (host_.changes().detours().moving() == request) {
             modelOf(&pipeline).queuedByHost(request);
          }
       });
   pipeline.codef->backlogCollection().watch(*watcher);
   backlogs_[&pipeline] = std::move(watcher);
}

void Recorder::watchChip() {
   auto const& isem = host_.isem();
   watchers_.watch<AradSemKeyAndFap>(isem.tableStatus->statusCollection(),
                                     [&](AradSemKeyAndFap const& key) {
                                        model_.isem.answered(key, isem.tableStatus->status(key));
                                     });
   auto const& mapper = host_.mapper();
   watchers_.watch<VlanTagToVsiMapperKey>(
       mapper.mapperConfig->configCollection(),
       [this](VlanTagToVsiMapperKey const& key) { model_.mapper.entryChanged(key); });
   watchers_.watch<VlanTagToVsiMapperKey>(
       mapper.mapperStatus->statusCollection(), [&](VlanTagToVsiMapperKey const& key) {
          model_.mapper.answered(key, mapper.mapperStatus->status(key));
       });
   watchers_.watch<TunnelPolicyMapperKey>(
       mapper.tunnelStatus->statusCollection(), [&](TunnelPolicyMapperKey const& key) {
          model_.mapper.answered(key, mapper.tunnelStatus->status(key));
       });
}

void Recorder::watchWorld() {
   World const& world = host_.world();
   auto both = [this](void (SharingModel::*event)(IntfId)) {
      return [this, event](IntfId const& intf) {
         (model_.isem.*event)(intf);
         (model_.mapper.*event)(intf);
      };
   };
   watchers_.watch<IntfId>(world.intfVlanIdTable->internalVlanIdCollection(),
                           both(&SharingModel::internalVlanChanged));
   watchers_.watch<IntfId>(world.subIntfDot1qEncapChange->dot1qEncapCollection(),
                           both(&SharingModel::tagsChanged));
   watchers_.watch<IntfId>(world.subIntfStatusDir->subIntfStatusCollection(),
                           [this](IntfId const& subIntf) { watchFlag(subIntf); });
   for (auto const& [subIntf, status] : world.subIntfStatusDir->subIntfStatusIter()) {
      watchFlag(subIntf);
   }
   watchers_.watch<IntfId>(world.shoalStatus->sysPhyPortIdCollection(), [this](IntfId const& port) {
      model_.published.systemPortChanged(port);
      model_.vlanTags.systemPortChanged(port);
      model_.chipWords.placesChanged();
   });
   watchers_.watch<Hardware::Shoal::PortMap>(
       world.vlanDomainStatus->portTunnelDataCollection(),
       [this](Hardware::Shoal::PortMap const& place) { model_.published.domainChanged(place); });
   auto version = std::make_unique<Watcher<>>([this] {
      model_.published.portMapVersionChanged();
      model_.vlanTags.portMapVersionChanged();
      model_.features.words().portMapVersionChanged();
      model_.chipWords.portMapChanged();
   });
   world.shoalStatus->portMapVersionAttribute().watch(*version);
   watchers_.add(std::move(version));
}

void Recorder::watchFlag(IntfId subIntf) {
   auto status = host_.world().subIntfStatusDir->subIntfStatus(subIntf);
   if (!status) {
      flags_.erase(subIntf);
      return;
   }
   auto watcher = std::make_unique<Watcher<>>([this, subIntf] {
      model_.isem.programInHwChanged(subIntf);
      model_.mapper.programInHwChanged(subIntf);
   });
   status->programInHwAttribute().watch(*watcher);
   flags_[subIntf] = std::move(watcher);
}

void Recorder::watchVlanTags() {
   World const& world = host_.world();
   auto& tags = model_.vlanTags;
   auto interface = [&tags](IntfId const& intf) { tags.interfaceChanged(intf); };
   watchers_.watch<IntfId>(world.intfVlanIdTable->internalVlanIdCollection(), interface);
   watchers_.watch<IntfId>(world.untaggedVlanDir->untaggedVlanCollection(), interface);
   watchers_.watch<Bridging::VlanMember>(
       world.taggedVlanDir->taggedVlanCollection(),
       [&tags](Bridging::VlanMember const& member) { tags.interfaceChanged(member.intfId); });
   watchers_.watch<IntfId>(world.dynSubIntfEncap->dot1qEncapCollection(),
                           [&tags](IntfId const& subIntf) { tags.subIntfChanged(subIntf); });
   watchers_.watch<IntfId>(world.subIntfConfigDir->subIntfConfigCollection(),
                           [this](IntfId const& subIntf) { watchTags(subIntf); });
   for (auto const& [subIntf, config] : world.subIntfConfigDir->subIntfConfigIter()) {
      watchTags(subIntf);
   }
}

void Recorder::watchTags(IntfId subIntf) {
   tags_.erase(subIntf);
   model_.vlanTags.subIntfChanged(subIntf);
   if (auto config = host_.world().subIntfConfigDir->subIntfConfig(subIntf)) {
      auto watcher =
          std::make_unique<Watcher<>>([this, subIntf] { model_.vlanTags.subIntfChanged(subIntf); });
      config->dot1qEncapAttribute().watch(*watcher);
      tags_[subIntf] = std::move(watcher);
   }
}

void Recorder::watchPlaces() {
   auto const& status = *host_.world().shoalStatus;
   watchers_.watch<Hardware::Shoal::SystemPhyPortId>(
       status.portMapCollection(),
       [this](Hardware::Shoal::SystemPhyPortId const&) { model_.chipWords.placesChanged(); });
   auto valid = std::make_unique<Watcher<>>([this] { model_.chipWords.portMapChanged(); });
   status.portMapValidAttribute().watch(*valid);
   watchers_.add(std::move(valid));
}

void Recorder::watchFeatures() {
   World const& world = host_.world();
   watchers_.watch<Orv::Name>(host_.inLifFeatures().inputDir->entryCollection(),
                              [this](Orv::Name const& name) { watchDirectory(name); });
   auto& words = model_.features.words();
   watchers_.watch<IntfId>(world.lagPhyIntfMapping->phyIntfLagCollection(),
                           [this, &words](IntfId const& port) {
                              words.portLagChanged(port);
                              model_.vlanTags.membershipChanged(port);
                           });
   watchers_.watch<IntfId>(world.lagPhyIntfMapping->lagPhyIntfConfigCollection(),
                           [this](IntfId const& lag) { watchMembers(lag); });
   for (auto const& [lag, members] : world.lagPhyIntfMapping->lagPhyIntfConfigIter()) {
      watchMembers(lag);
   }
   watchers_.watch<IntfId>(world.untaggedVlanDir->untaggedVlanCollection(),
                           [&words](IntfId const& intf) { words.untaggedVlanChanged(intf); });
   auto keyVersion = std::make_unique<Watcher<>>([this] { model_.features.keyVersionChanged(); });
   world.shoalStatus->tcamKeyVersionAttribute().watch(*keyVersion);
   watchers_.add(std::move(keyVersion));
}

void Recorder::watchDirectory(Orv::Name const& name) {
   directories_.erase(name);
   auto directory = host_.inLifFeatures().directory(name);
   if (directory) {
      auto watcher = std::make_unique<Watcher<InLifFeatureKey>>(
          [this, name](InLifFeatureKey const& key) { model_.features.requestChanged(name, key); });
      directory->requestCollection().watch(*watcher);
      directories_[name] = std::move(watcher);
   }
   model_.features.directoryChanged(name, directory);
}

void Recorder::watchMembers(IntfId lag) {
   members_.erase(lag);
   if (auto list = host_.world().lagPhyIntfMapping->lagPhyIntfConfig(lag)) {
      auto watcher = std::make_unique<Watcher<IntfId>>([this, lag](IntfId const& port) {
         model_.features.words().memberChanged(lag, port);
         model_.vlanTags.membershipChanged(port);
      });
      list->phyIntfCollection().watch(*watcher);
      members_[lag] = std::move(watcher);
   }
}

void Recorder::machineGone(Machine machine, SharingPipeline* pipeline) {
   switch (machine) {
   case Machine::merge:
      modelOf(pipeline).mergeRestarts();
      break;
   case Machine::intake:
      backlogs_.erase(pipeline);
      modelOf(pipeline).intakeRestarts();
      break;
   case Machine::isem:
      model_.isem.machineRestarts();
      break;
   case Machine::mapper:
      model_.mapper.mapperRestarts();
      break;
   case Machine::tunnel:
      model_.mapper.tunnelRestarts();
      break;
   case Machine::vlanDomain:
      model_.published.machineRestarts();
      break;
   case Machine::vlanPorts:
      model_.vlanTags.portsMachineRestarts();
      break;
   default: // what these publish follows from the tables; those of in-LIF features are told of when
            // they are built
      break;
   }
}

void Recorder::machineBuilt(Machine machine, SharingPipeline* pipeline) {
   if (machine == Machine::intake) {
      watchBacklog(*pipeline);
   } else if (machine >= Machine::featureRequests) {
      model_.features.machineRestarts(machine);
   }
}

} // namespace Simulate
