// Compares an agent with one that is started fresh on the same world and the same requests.
#include "agent/simulate/Auditor.h"
#include "platform/ShoalTcam/TcamDbStatusInterface.h"
#include "platform/Trace/Trace.h"

#include <utility>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

// The trace is that of the agent that is checked.
class Untraced {
 public:
   Untraced() = default;
   Untraced(Untraced const&) = delete;
   Untraced& operator=(Untraced const&) = delete;
   ~Untraced() { Trace::enabledLevels = levels_; }

 private:
   uint32_t levels_ = std::exchange(Trace::enabledLevels, 0);
};

void copySubInterfaces(World const& from, World& to) {
   for (auto const& [subIntf, config] : to.subIntfConfigDir->subIntfConfigIter()) {
      if (!from.subIntfConfigDir->subIntfConfigHas(subIntf)) {
         to.subIntfConfigDir->subIntfConfigDel(subIntf);
         to.subIntfStatusDir->subIntfStatusDel(subIntf);
      } else {
         config->dot1qEncapIs(from.subIntfConfigDir->subIntfConfig(subIntf)->dot1qEncap());
         auto status = from.subIntfStatusDir->subIntfStatus(subIntf);
         auto copy = to.subIntfStatusDir->subIntfStatus(subIntf);
         copy->programInHwIs(status->programInHw());
         copy->encapKindIs(status->encapKind());
      }
   }
   for (auto const& [subIntf, tags] : from.dynSubIntfEncap->dot1qEncapIter()) {
      to.dynSubIntfEncap->dot1qEncapIs(subIntf, tags);
   }
   to.subIntfDot1qEncapChange->dot1qEncapDelAll();
   for (auto const& [subIntf, tags] : from.subIntfDot1qEncapChange->dot1qEncapIter()) {
      to.subIntfDot1qEncapChange->dot1qEncapIs(subIntf, tags);
   }
   to.vtagToVsiConfig->configDelAll();
   for (auto const& [key, result] : from.vtagToVsiConfig->configIter()) {
      to.vtagToVsiConfig->configIs(key, {result.lif, 0});
   }
}

void copyPortChannels(World const& from, World& to) {
   auto domains = to.vlanTagToVsiMapperSm->vlanDomainManager();
   domains->vlanDomainPerLagFapDelAll();
   for (auto const& [key, entry] :
        from.vlanTagToVsiMapperSm->vlanDomainManager()->vlanDomainPerLagFapIter()) {
      auto copy = domains->vlanDomainPerLagFapIs(key);
      copy->vlanDomainIs(entry->vlanDomain());
      for (auto const& [port, present] : entry->memberPortIter()) {
         copy->memberPortIs(port);
      }
   }
   for (auto const& [lag, status] : from.ethIntfStatusDir->ethLagIntfStatusIter()) {
      auto copy = to.ethIntfStatusDir->ethLagIntfStatusIs(lag);
      copy->memberDelAll();
      for (auto const& [member, present] : status->memberIter()) {
         copy->memberIs(member);
      }
   }
}

// What in-LIF features are laid over, and who asks for them.
void copyFeatures(Host const& from, Host& to) {
   auto& mapping = *to.world().lagPhyIntfMapping;
   mapping.lagPhyIntfConfigDelAll();
   mapping.phyIntfLagDelAll();
   for (auto const& [port, lag] : from.world().lagPhyIntfMapping->phyIntfLagIter()) {
      mapping.phyIntfLagIs(port, lag);
   }
   for (auto const& [lag, members] : from.world().lagPhyIntfMapping->lagPhyIntfConfigIter()) {
      auto copy = mapping.lagPhyIntfConfigIs(lag);
      for (auto const& [port, present] : members->phyIntfIter()) {
         copy->phyIntfIs(port);
      }
   }
   auto& vlans = *to.world().untaggedVlanDir;
   vlans.untaggedVlanDelAll();
   for (auto const& [intf, vlan] : from.world().untaggedVlanDir->untaggedVlanIter()) {
      vlans.untaggedVlanIs(intf, vlan);
   }
   auto& status = *to.world().shoalStatus;
   status.sysTcamIdDelAll();
   for (auto const& [port, tcam] : from.world().shoalStatus->sysTcamIdIter()) {
      status.sysTcamIdIs(port, tcam);
   }
   status.portMapValidIs(from.world().shoalStatus->portMapValid());
   for (auto const& [name, entry] : from.inLifFeatures().inputDir->entryIter()) {
      if (auto directory = from.inLifFeatures().directory(name)) {
         auto copy = Orv::make<InLifFeatureRequestDir>(name);
         for (auto const& [key, request] : directory->requestIter()) {
            copy->requestIs(request);
         }
         to.inLifFeatures().inputDir->entryIs(name, copy);
      }
   }
   to.startFeaturesFresh();
}

// TCAM layouts are the process's, and an agent that is made starts with its own.
class KeptLayouts {
 public:
   KeptLayouts() {
      for (auto const& [tcam, data] : layouts_.inLifDataIter()) {
         kept_[tcam] = Word::layoutOf(tcam);
      }
   }
   ~KeptLayouts() {
      layouts_.inLifDataDelAll();
      for (auto const& [tcam, layout] : kept_) {
         auto data = layouts_.inLifDataIs(tcam);
         for (auto const& [type, place] : layout) {
            data->tcamShareQualInfoIs(type, place);
         }
      }
   }
   KeptLayouts(KeptLayouts const&) = delete;
   KeptLayouts& operator=(KeptLayouts const&) = delete;

 private:
   ShoalTcam::TcamDbStatusInterface& layouts_ =
       *ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface();
   std::map<SystemTcamId, Word::Layout> kept_;
};

Host freshHost(Inventory const& inventory) {
   KeptLayouts layouts;
   return Host(inventory);
}

void copyPorts(World const& from, World& to) {
   to.shoalStatus->sysPhyPortIdDelAll();
   to.shoalStatus->portMapDelAll();
   to.vlanDomainStatus->portTunnelDataDelAll();
   to.scsd->portMapToIntfDelAll();
   for (auto const& [systemPort, place] : from.shoalStatus->portMapIter()) {
      to.shoalStatus->portMapIs(systemPort, place);
   }
   for (auto const& [place, data] : from.vlanDomainStatus->portTunnelDataIter()) {
      to.vlanDomainStatus->portTunnelDataIs(place, data);
   }
   for (auto const& [place, port] : from.scsd->portMapToIntfIter()) {
      to.scsd->portMapToIntfIs(place, port);
   }
   for (auto const& [port, systemPort] : from.shoalStatus->sysPhyPortIdIter()) {
      to.shoalStatus->sysPhyPortIdIs(port, systemPort);
   }
   for (auto const& [port, vlan] : from.intfVlanIdTable->internalVlanIdIter()) {
      to.intfVlanIdTable->internalVlanIdIs(port, vlan);
   }
}

void copyUnits(World const& from, World& to) {
   for (auto const& unit : from.inventory().units) {
      FapId fapId(unit.fapId);
      to.fapAvailableIs(fapId, from.shoalStatus->fapAvailable(fapId));
      to.extLkupTypeIs(fapId, from.shoalStatus->fapExtLkupType(fapId));
      to.fapTypeIs(fapId, from.shoalStatus->fapType(fapId));
   }
}

} // namespace

Findings Auditor::compareFresh() const {
   Findings findings;
   Untraced untraced;
   Host fresh = freshHost(host_.world().inventory());
   copyUnits(host_.world(), fresh.world());
   copyPorts(host_.world(), fresh.world());
   copyPortChannels(host_.world(), fresh.world());
   copySubInterfaces(host_.world(), fresh.world());
   fresh.rebuild(Machine::vlanDomain);
   copyFeatures(host_, fresh);
   // Of two labels the last one wins, so the one that stands comes last.
   for (auto [feature, winners] :
        {std::pair{Requester::acl, false}, std::pair{Requester::lumen, false},
         std::pair{Requester::rampart, false}, std::pair{Requester::lumen, true}}) {
      for (auto const& [request, policy] : host_.sharing().config(feature)->requestIter()) {
         Side const& side = &host_.pipelineOf(request) == &host_.isem() ? isemSide_ : inLifSide_;
         bool wins = feature == Requester::lumen && side.intake.labelWinner(request) == feature;
         if (side.intake.folds(request) && wins == winners) {
            fresh.sharing().config(feature)->requestIs(request, policy);
         }
      }
   }
   if (!fresh.settle()) {
      findings.add("a fresh agent settles", "it still moves after an hour");
   }
   compareMerged(findings, isemSide_, fresh.isem());
   compareMerged(findings, inLifSide_, fresh.mapper());
   compareIsem(findings, fresh);
   compareMapper(findings, fresh);
   comparePublished(findings, fresh);
   features_.compareFresh(findings, fresh.inLifFeatures());
   return findings;
}

void Auditor::compareMerged(Findings& findings, Side const& side,
                            SharingPipeline const& fresh) const {
   for (auto const& [request, policy] : side.pipeline.merged->requestIter()) {
      if (!side.intake.folds(request)) {
         probes_.hit("end: merged policy depends on the order");
      } else if (fresh.merged->request(request) != policy) {
         findings.add("as after a fresh start, merged", request, " is ", policy, ", fresh ",
                      fresh.merged->request(request));
      }
   }
   for (auto const& [request, policy] : fresh.merged->requestIter()) {
      if (!side.pipeline.merged->requestHas(request)) {
         findings.add("as after a fresh start, merged", request, " is missing, fresh ", policy);
      }
   }
}

// A request that was taken out, or whose answer belongs to what was before, is no matter here.
bool Auditor::comparable(Side const& side, TcamSharingRequest request) const {
   return side.intake.folds(request) && !side.intake.isTakenOut(request) &&
          side.pipeline.merged->requestHas(request);
}

void Auditor::compareAnswer(Findings& findings, SharingPipeline const& here,
                            SharingPipeline const& fresh, TcamSharingRequest request) {
   auto response = here.mergedStatus->response(request);
   auto freshResponse = fresh.mergedStatus->response(request);
   if (response != freshResponse) {
      findings.add("as after a fresh start, answers", request, " is ", response, ", fresh ",
                   freshResponse);
   }
}

void Auditor::compareIsem(Findings& findings, Host const& fresh) const {
   auto const& pipeline = host_.isem();
   for (auto const& [request, policy] : fresh.isem().merged->requestIter()) {
      auto key = facts_.sharedKey(request);
      auto freshUsers = key ? fresh.isem().common->semToRequest(*key) : nullptr;
      if (!comparable(isemSide_, request) || !isem_.plain(request) ||
          (freshUsers && freshUsers->requests() > 1)) {
         probes_.hit("end: a shared entry with a past");
         continue;
      }
      probes_.hit("end: a shared entry compared");
      compareAnswer(findings, pipeline, fresh.isem(), request);
      if (pipeline.table->config(*key) != fresh.isem().table->config(*key)) {
         findings.add("as after a fresh start, entries", *key, " of ", request);
      }
   }
   for (auto const& [key, payload] : pipeline.table->configIter()) {
      auto user = isem_.plainUser(key);
      if (user && comparable(isemSide_, *user) && !fresh.isem().table->configHas(key)) {
         findings.add("as after a fresh start, entries", key, " has none, here ", payload);
      }
   }
}

void Auditor::compareMapper(Findings& findings, Host const& fresh) const {
   auto const& pipeline = host_.mapper();
   for (auto const& [request, policy] : fresh.mapper().merged->requestIter()) {
      bool tunnel = request.intfId().fields().kind == Plexus::IntfKind::tunnel;
      if (!comparable(inLifSide_, request) ||
          !(tunnel ? tunnel_.plain(request) : mapper_.plain(request))) {
         probes_.hit(tunnel ? "end: a tunnel with a past" : "end: a mapper request with a past");
         continue;
      }
      probes_.hit(tunnel ? "end: a tunnel compared" : "end: a mapper request compared");
      compareAnswer(findings, pipeline, fresh.mapper(), request);
      for (VlanTagToVsiMapperKey key : mapper_.entriesOf(request)) {
         if (pipeline.mapperConfig->config(key) != fresh.mapper().mapperConfig->config(key)) {
            findings.add("as after a fresh start, entries", key, " of ", request);
         }
      }
      TunnelPolicyMapperKey key(request.intfId(), request.fapId());
      if (tunnel &&
          pipeline.tunnelConfig->config(key) != fresh.mapper().tunnelConfig->config(key)) {
         findings.add("as after a fresh start, entries", key, " of ", request);
      }
   }
}

void Auditor::comparePublished(Findings& findings, Host const& fresh) const {
   for (auto const& [port, unit] : fresh.intfToFapIdStatus()->intfToFapIter()) {
      if (!published_.plain(port)) {
         probes_.hit("end: a port that moved without news");
         continue;
      }
      probes_.hit("end: a port compared");
      FapId published = host_.intfToFapIdStatus()->intfToFap(port);
      auto domain = host_.intfToVlanDomainStatus()->vlanDomain(port);
      auto freshDomain = fresh.intfToVlanDomainStatus()->vlanDomain(port);
      // One that was gone at a walk and came back to its place has its domain, if there is one, and
      // gets its unit with the next walk.
      if (!host_.intfToFapIdStatus()->intfToFapHas(port)) {
         probes_.hit("rule: a port that came back has no unit before the next walk");
      } else if (published != unit) {
         findings.add("as after a fresh start, units", port, " is on ", published, ", fresh on ",
                      unit);
      }
      // A domain that went while a walk was due stays published, on purpose.
      if (freshDomain.value() != 0 && domain != freshDomain) {
         findings.add("as after a fresh start, domains", port, " has ", domain, ", fresh ",
                      freshDomain);
      }
   }
}

} // namespace Agent
