#include "agent/simulate/Auditor.h"

#include "agent/command/Registry.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

Auditor& Auditor::follow(Host& host) {
   bool asked = host.observer() != nullptr;
   for (SharingPipeline* pipeline : host.pipelines()) {
      asked = asked || host.inLifFeatures().inputDir->entrys() > 0 ||
              pipeline->merged->requests() > 0 || pipeline->mergedStatus->responses() > 0;
   }
   if (asked) {
      throw CommandError("checks follow an agent from its start, before anything is asked for");
   }
   auto* auditor = new Auditor(host);
   host.observerIs(std::unique_ptr<Observer>(auditor));
   for (std::size_t i = 0; i < machineNames.size(); ++i) {
      host.rebuild(static_cast<Machine>(i));
   }
   return *auditor;
}

Auditor& Auditor::of(Host const& host) {
   auto* auditor = dynamic_cast<Auditor*>(host.observer());
   if (auditor == nullptr) {
      throw CommandError("nothing is checked here; say follow at the start");
   }
   return *auditor;
}

Auditor::Auditor(Host& host)
    : host_(host), facts_(host.world()), isemSide_(host.isem(), facts_, probes_),
      inLifSide_(host.mapper(), facts_, probes_), isem_(host, facts_, isemSide_.answers, probes_),
      mapper_(host, facts_, inLifSide_.answers, probes_),
      tunnel_(host, inLifSide_.answers, probes_), published_(host, probes_),
      features_(host, probes_), explanations_(host) {
   watchSide(isemSide_);
   watchSide(inLifSide_);
   using Request = TcamSharingRequest;
   auto const& isem = host.isem();
   watchers_.watch<Request>(isem.outputTable->requestCollection(), [this](Request const& request) {
      isemSide_.intake.handleOutput(request);
      isem_.handleOutput(request);
   });
   watchers_.watch<AradSemKeyAndFap>(
       isem.tableStatus->statusCollection(),
       [this](AradSemKeyAndFap const& key) { isem_.handleStatus(key); });
   auto const& inLif = host.mapper();
   watchers_.watch<Request>(inLif.tagOutput->requestCollection(), [this](Request const& request) {
      inLifSide_.intake.handleOutput(request);
      mapper_.handleOutput(request);
   });
   watchers_.watch<Request>(inLif.tunnelOutput->requestCollection(),
                            [this](Request const& request) {
                               inLifSide_.intake.handleOutput(request);
                               tunnel_.handleOutput(request);
                            });
   watchers_.watch<VlanTagToVsiMapperKey>(
       inLif.mapperConfig->configCollection(),
       [this](VlanTagToVsiMapperKey const& key) { mapper_.handleConfig(key); });
   watchers_.watch<VlanTagToVsiMapperKey>(
       inLif.mapperStatus->statusCollection(),
       [this](VlanTagToVsiMapperKey const& key) { mapper_.handleStatus(key); });
   watchers_.watch<TunnelPolicyMapperKey>(
       inLif.tunnelStatus->statusCollection(),
       [this](TunnelPolicyMapperKey const& key) { tunnel_.handleStatus(key); });
   watchWorld();
   watchFeatures();
}

Auditor::~Auditor() = default;

Auditor::Side& Auditor::sideOf(SharingPipeline* pipeline) {
   return pipeline == &isemSide_.pipeline ? isemSide_ : inLifSide_;
}

void Auditor::watchSide(Side& side) {
   using Request = TcamSharingRequest;
   auto& pipeline = side.pipeline;
   for (std::size_t i = 0; i < kRequesters; ++i) {
      auto feature = static_cast<Requester>(i);
      watchers_.watch<Request>(pipeline.sharing.config(feature)->requestCollection(),
                               [&side, feature](Request const& request) {
                                  side.intake.handleFeature(feature, request);
                               });
   }
   watchers_.watch<Request>(pipeline.merged->requestCollection(),
                            [&side](Request const& request) { side.intake.handleMerged(request); });
   watchers_.watch<Request>(
       pipeline.mergedStatus->responseCollection(),
       [&side](Request const& request) { side.intake.handleMergedStatus(request); });
   watchers_.watch<TcamSharingEntry>(
       pipeline.commonBase->retryListCollection(),
       [&side](TcamSharingEntry const& entry) { side.intake.handleRetryList(entry); });
   watchBacklog(side);
}

void Auditor::watchBacklog(Side& side) {
   auto watcher = std::make_unique<Watcher<TcamSharingRequest>>(
       [&side](TcamSharingRequest const& request) { side.intake.handleBacklog(request); });
   side.pipeline.codef->backlogCollection().watch(*watcher);
   side.backlog = std::move(watcher);
}

void Auditor::watchWorld() {
   World const& world = host_.world();
   auto both = [this](void (IntakeShadow::*handler)(IntfId)) {
      return [this, handler](IntfId const& intf) {
         (isemSide_.intake.*handler)(intf);
         (inLifSide_.intake.*handler)(intf);
      };
   };
   watchers_.watch<IntfId>(world.intfVlanIdTable->internalVlanIdCollection(),
                           both(&IntakeShadow::handleInternalVlan));
   watchers_.watch<IntfId>(world.subIntfDot1qEncapChange->dot1qEncapCollection(),
                           both(&IntakeShadow::handleTags));
   watchers_.watch<IntfId>(world.subIntfStatusDir->subIntfStatusCollection(),
                           [this](IntfId const& subIntf) { watchFlag(subIntf); });
   for (auto const& [subIntf, status] : world.subIntfStatusDir->subIntfStatusIter()) {
      watchFlag(subIntf);
   }
   watchers_.watch<IntfId>(world.shoalStatus->sysPhyPortIdCollection(),
                           [this](IntfId const& port) { published_.handleSystemPort(port); });
   watchers_.watch<Hardware::Shoal::PortMap>(
       world.vlanDomainStatus->portTunnelDataCollection(),
       [this](Hardware::Shoal::PortMap const& place) { published_.handleDomain(place); });
   auto version = std::make_unique<Watcher<>>([this] {
      published_.handleVersion();
      features_.defaultLifs().handlePortMapVersion();
   });
   world.shoalStatus->portMapVersionAttribute().watch(*version);
   watchers_.add(std::move(version));
}

void Auditor::watchFlag(IntfId subIntf) {
   auto status = host_.world().subIntfStatusDir->subIntfStatus(subIntf);
   if (!status) {
      flags_.erase(subIntf);
      return;
   }
   auto watcher = std::make_unique<Watcher<>>([this, subIntf] {
      isemSide_.intake.handleProgramInHw(subIntf);
      inLifSide_.intake.handleProgramInHw(subIntf);
   });
   status->programInHwAttribute().watch(*watcher);
   flags_[subIntf] = std::move(watcher);
}

void Auditor::watchFeatures() {
   World const& world = host_.world();
   auto const& input = *host_.inLifFeatures().inputDir;
   watchers_.watch<Orv::Name>(input.entryCollection(), [this](Orv::Name const& name) {
      watchDirectory(name);
      features_.handleDirectory(name);
   });
   auto& lifs = features_.defaultLifs();
   watchers_.watch<IntfId>(world.lagPhyIntfMapping->phyIntfLagCollection(),
                           [&lifs](IntfId const& port) { lifs.handlePortLag(port); });
   watchers_.watch<IntfId>(world.lagPhyIntfMapping->lagPhyIntfConfigCollection(),
                           [&](IntfId const& lag) {
                              watchMembers(lag);
                              features_.defaultLifs().handleLag(lag);
                           });
   for (auto const& [lag, members] : world.lagPhyIntfMapping->lagPhyIntfConfigIter()) {
      watchMembers(lag);
   }
   watchers_.watch<IntfId>(world.untaggedVlanDir->untaggedVlanCollection(),
                           [&lifs](IntfId const& intf) { lifs.handleUntaggedVlan(intf); });
   watchers_.watch<IntfId>(world.shoalStatus->sysTcamIdCollection(),
                           [&lifs](IntfId const& port) { lifs.handleTcam(port); });
   auto keyVersion = std::make_unique<Watcher<>>([this] { features_.handleKeyVersion(); });
   world.shoalStatus->tcamKeyVersionAttribute().watch(*keyVersion);
   watchers_.add(std::move(keyVersion));
}

void Auditor::watchDirectory(Orv::Name const& name) {
   directories_.erase(name);
   if (auto directory = host_.inLifFeatures().directory(name)) {
      auto watcher = std::make_unique<Watcher<InLifFeatureKey>>(
          [this, name](InLifFeatureKey const& key) { features_.handleRequest(name, key); });
      directory->requestCollection().watch(*watcher);
      directories_[name] = std::move(watcher);
   }
}

void Auditor::watchMembers(IntfId lag) {
   members_.erase(lag);
   if (auto list = host_.world().lagPhyIntfMapping->lagPhyIntfConfig(lag)) {
      auto watcher = std::make_unique<Watcher<IntfId>>(
          [this, lag](IntfId const& port) { features_.defaultLifs().handleMember(lag, port); });
      list->phyIntfCollection().watch(*watcher);
      members_[lag] = std::move(watcher);
   }
}

void Auditor::handleGone(Machine machine, SharingPipeline* pipeline) {
   explanations_.handleRebuild();
   switch (machine) {
   case Machine::merge:
      sideOf(pipeline).intake.handleMergeGone();
      break;
   case Machine::intake:
      sideOf(pipeline).backlog.reset();
      sideOf(pipeline).intake.handleIntakeGone();
      break;
   case Machine::isem:
      isem_.handleGone();
      break;
   case Machine::mapper:
      mapper_.handleGone();
      break;
   case Machine::tunnel:
      tunnel_.handleGone();
      break;
   case Machine::vlanDomain:
      published_.handleGone();
      break;
   default: // in-LIF features: what they find when they stand again
      break;
   }
}

void Auditor::handleBuilt(Machine machine, SharingPipeline* pipeline) {
   if (machine == Machine::intake) {
      watchBacklog(sideOf(pipeline));
   } else if (machine >= Machine::featureRequests) {
      features_.handleBuilt(machine);
   }
}

Findings Auditor::check(bool settled) const {
   Findings findings;
   if (!unexplained_.empty()) {
      findings.add("a change is refused for a reason", unexplained_);
   }
   for (std::string const& condition : probes_.stopsDue()) {
      findings.add("the library stops where it has to", "it went on against ", condition);
   }
   isemSide_.intake.compare(findings, settled);
   isem_.compare(findings);
   inLifSide_.intake.compare(findings, settled);
   mapper_.compare(findings);
   tunnel_.compare(findings);
   published_.compare(findings, settled);
   features_.compare(findings);
   checkRouter(findings);
   explanations_.check(findings);
   if (settled) {
      isem_.checkSettled(findings);
      mapper_.checkSettled(findings);
      tunnel_.checkSettled(findings);
   }
   return findings;
}

// A feature sees the answers of both generations as one table: of each unit, those of its own.
void Auditor::checkRouter(Findings& findings) const {
   for (std::size_t i = 0; i < kRequesters; ++i) {
      auto feature = static_cast<Requester>(i);
      std::map<TcamSharingRequest, TcamSharingResponse> expected;
      for (Side const* side : {&inLifSide_, &isemSide_}) {
         bool arad = side == &isemSide_;
         for (auto const& [request, response] :
              side->pipeline.sharing.status(feature)->responseIter()) {
            if (arad == (host_.world().shoalStatus->fapType(request.fapId()) == 1)) {
               expected[request] = response;
            }
         }
      }
      findings.compare("answers of both generations", expected,
                       host_.sharing().status(feature)->responseCollection());
   }
}

} // namespace Agent
