#include "simulate/explanations/Affected.h"

#include "simulate/explanations/Leads.h"

namespace Simulate {

using namespace Hardware::ShoalTunnel;

Affected::Affected(AgentHost& host) : host_(host) {
   watchRequests();
   watchEntries();
   watchWorld();
   watchFeatures();
}

void Affected::watchRequests() {
   for (Requester requester : requesters) {
      watchInto(requests_, host_.sharing().config(requester)->requestCollection());
      watchInto(requests_, host_.sharing().status(requester)->responseCollection());
   }
   for (SharingPipeline const* pipeline : host_.pipelines()) {
      for (Requester requester : requesters) {
         watchInto(requests_, pipeline->sharing.config(requester)->requestCollection());
      }
      watchInto(requests_, pipeline->merged->requestCollection());
      watchInto(requests_, pipeline->mergedStatus->responseCollection());
      watchers_.watch<TcamSharingRequest>(
          pipeline->merged->requestCollection(),
          [this](TcamSharingRequest const&) { mergedMoved_ = true; });
      watchers_.watch<TcamSharingEntry>(
          pipeline->commonBase->retryListCollection(),
          [this](TcamSharingEntry const& entry) { requests_.add(entry.request()); });
      intakeBuilt(*pipeline);
   }
   for (auto const& output :
        {host_.isem().outputTable, host_.mapper().tagOutput, host_.mapper().tunnelOutput}) {
      watchInto(requests_, output->requestCollection());
   }
   watchInto(requests_, host_.isem().common->tcamRequestToIsemKeyMappingCollection());
}

void Affected::intakeBuilt(SharingPipeline const& pipeline) {
   watchInto(requests_, pipeline.codef->backlogCollection());
}

void Affected::watchEntries() {
   auto both = [this](auto const& config, auto const& status) {
      using Key = typename std::remove_cvref_t<decltype(config)>::Key;
      auto note = [this](Key const& key) { entries_.add(PolicyKey(key)); };
      watchers_.watch<Key>(config, note);
      watchers_.watch<Key>(status, note);
   };
   auto const& isem = host_.isem();
   both(isem.table->configCollection(), isem.tableStatus->statusCollection());
   auto const& mapper = host_.mapper();
   both(mapper.mapperConfig->configCollection(), mapper.mapperStatus->statusCollection());
   both(mapper.tunnelConfig->configCollection(), mapper.tunnelStatus->statusCollection());
}

void Affected::watchWorld() {
   World const& world = host_.world();
   watchInto(interfaces_, world.intfVlanIdTable->internalVlanIdCollection());
   // A way round hides tags, and gives them back, without a record of the change.
   watchInto(interfaces_, world.dynSubIntfEncap->dot1qEncapCollection());
   watchers_.watch<IntfId>(world.subIntfConfigDir->subIntfConfigCollection(),
                           [this](IntfId const& subIntf) { watchFlags(subIntf); });
   watchInto(interfaces_, world.subIntfDot1qEncapChange->dot1qEncapCollection());
   watchInto(interfaces_, world.untaggedVlanDir->untaggedVlanCollection());
   watchInto(interfaces_, world.localPortMapStatus->portMapCollection());
   watchInto(interfaces_, world.shoalStatus->sysPhyPortIdCollection());
   watchInto(interfaces_, world.shoalStatus->sysTcamIdCollection());
   watchInto(interfaces_, world.lagPhyIntfMapping->phyIntfLagCollection());
   watchers_.watch<Hardware::Shoal::PortMap>(world.vlanDomainStatus->portTunnelDataCollection(),
                                             [this](Hardware::Shoal::PortMap const& place) {
                                                interfaces_.add(
                                                    host_.world().scsd->portMapToIntf(place));
                                             });
   auto const& domains = *world.vlanTagToVsiMapperSm->vlanDomainManager();
   watchers_.watch<LagFapKey>(domains.vlanDomainPerLagFapCollection(),
                              [this](LagFapKey const& key) { watchDomain(key); });
   for (auto const& [key, domain] : domains.vlanDomainPerLagFapIter()) {
      watchDomain(key);
   }
   watchInto(units_, world.shoalStatus->fapNameCollection());
   watchInto(units_, world.shoalStatus->fapTypeCollection());
   watchInto(units_, world.shoalStatus->fapExtLkupTypeCollection());
   watchers_.watch<IntfId>(world.subIntfStatusDir->subIntfStatusCollection(),
                           [this](IntfId const& subIntf) { watchFlags(subIntf); });
   for (auto const& [subIntf, status] : world.subIntfStatusDir->subIntfStatusIter()) {
      watchFlags(subIntf);
   }
   watchers_.watch<IntfId>(world.lagPhyIntfMapping->lagPhyIntfConfigCollection(),
                           [this](IntfId const& lag) { watchMembers(lag); });
   for (auto const& [lag, members] : world.lagPhyIntfMapping->lagPhyIntfConfigIter()) {
      watchMembers(lag);
   }
   forget();
}

void Affected::watchFlags(IntfId subIntf) {
   auto& watchers = flags_[subIntf];
   watchers.clear();
   interfaces_.add(subIntf);
   auto add = [&](auto const& attribute) {
      auto watcher = std::make_unique<Watcher<>>([this, subIntf] { interfaces_.add(subIntf); });
      attribute.watch(*watcher);
      watchers.push_back(std::move(watcher));
   };
   if (auto config = host_.world().subIntfConfigDir->subIntfConfig(subIntf)) {
      add(config->dot1qEncapAttribute());
   }
   if (auto status = host_.world().subIntfStatusDir->subIntfStatus(subIntf)) {
      add(status->programInHwAttribute());
      add(status->encapKindAttribute());
   }
}

void Affected::watchMembers(IntfId lag) {
   members_.erase(lag);
   interfaces_.add(lag);
   if (auto list = host_.world().lagPhyIntfMapping->lagPhyIntfConfig(lag)) {
      auto watcher =
          std::make_unique<Watcher<IntfId>>([this, lag](IntfId const&) { interfaces_.add(lag); });
      list->phyIntfCollection().watch(*watcher);
      members_[lag] = std::move(watcher);
   }
}

void Affected::watchDomain(LagFapKey const& key) {
   auto& watchers = domains_[key];
   watchers.clear();
   interfaces_.add(key.lag);
   auto const& manager = *host_.world().vlanTagToVsiMapperSm->vlanDomainManager();
   if (auto domain = manager.vlanDomainPerLagFap(key)) {
      auto value = std::make_unique<Watcher<>>([this, lag = key.lag] { interfaces_.add(lag); });
      domain->vlanDomainAttribute().watch(*value);
      watchers.push_back(std::move(value));
      auto ports = std::make_unique<Watcher<uint16_t>>(
          [this, lag = key.lag](uint16_t const&) { interfaces_.add(lag); });
      domain->memberPortCollection().watch(*ports);
      watchers.push_back(std::move(ports));
   }
}

void Affected::watchFeatures() {
   auto const& pipeline = host_.inLifFeatures();
   watchers_.watch<Orv::Name>(pipeline.inputDir->entryCollection(),
                              [this](Orv::Name const& name) { watchDirectory(name); });
   watchInto(features_, pipeline.featureStatus->responseCollection());
   watchInto(inLifs_, pipeline.subIntfWords->lifFeatureAttrCollection());
   watchInto(words_, pipeline.mergedWords->lifFeatureAttrCollection());
   // An answer tells only of itself: it is seen when everything is checked.
   watchers_.watch<DefaultMappingKey>(pipeline.defaultMappingConfig->configCollection(),
                                      [this](DefaultMappingKey const& key) {
                                         words_.add(host_.world().scsd->portMapToIntf(key.place()));
                                      });
   watchers_.watch<SubIntfMappingKey>(pipeline.subIntfMappingConfig->configCollection(),
                                      [this](SubIntfMappingKey const& key) {
                                         inLifs_.add(InLifIntfKey(key.subIntf(), key.tcamId()));
                                      });
   watchers_.watch<InLifIntfKey>(
       pipeline.inLifIntfCfg->requestCollection(), [this, &pipeline](InLifIntfKey const& key) {
          watchVersion(key, pipeline.inLifIntfCfg->request(key).get(), false);
       });
   watchers_.watch<InLifIntfKey>(
       pipeline.inLifIntfStatus->responseCollection(), [this, &pipeline](InLifIntfKey const& key) {
          watchVersion(key, pipeline.inLifIntfStatus->response(key).get(), true);
       });
   auto every = [this](auto const& attribute) {
      auto watcher = std::make_unique<Watcher<>>([this] { everyFeature_ = true; });
      attribute.watch(*watcher);
      watchers_.add(std::move(watcher));
   };
   every(host_.world().shoalStatus->tcamKeyVersionAttribute());
   every(host_.world().shoalStatus->portMapValidAttribute());
}

void Affected::watchDirectory(Orv::Name const& name) {
   directories_.erase(name);
   everyFeature_ = true;
   if (auto directory = host_.inLifFeatures().directory(name)) {
      auto watcher = std::make_unique<Watcher<InLifFeatureKey>>(
          [this](InLifFeatureKey const& key) { features_.add(key); });
      directory->requestCollection().watch(*watcher);
      directories_[name] = std::move(watcher);
   }
}

void Affected::watchVersion(InLifIntfKey key, InLifIntfFeatureAggr const* aggregate, bool handled) {
   inLifs_.add(key);
   if (aggregate == nullptr) {
      versions_.erase({key, handled});
      return;
   }
   auto watcher = std::make_unique<Watcher<>>([this, key] { inLifs_.add(key); });
   aggregate->versionAttribute().watch(*watcher);
   versions_[{key, handled}] = std::move(watcher);
}

// With the port-channels of touched ports.
std::set<IntfId> Affected::touchedInterfaces() const {
   std::set<IntfId> touched;
   for (IntfId intf : interfaces_.all()) {
      touched.insert(intf);
      touched.insert(host_.world().lagPhyIntfMapping->phyIntfLag(intf));
   }
   touched.erase(IntfId());
   return touched;
}

std::vector<TcamSharingRequest> Affected::requests(Leads const& leads) const {
   Touched<TcamSharingRequest> found = requests_;
   std::set<IntfId> subIntfs; // whose mapper entries changed
   for (PolicyKey const& key : entries_.all()) {
      if (auto const* isem = std::get_if<AradSemKeyAndFap>(&key)) {
         if (auto users = host_.isem().common->semToRequest(*isem)) {
            for (auto const& [request, present] : users->requestIter()) {
               found.add(request);
            }
         }
         for (TcamSharingRequest request : leads.requestsAt(key)) {
            found.add(request);
         }
      } else if (auto const* mapper = std::get_if<VlanTagToVsiMapperKey>(&key)) {
         subIntfs.insert(mapper->fields().subIntfId);
      } else {
         auto const& tunnel = std::get<TunnelPolicyMapperKey>(key);
         found.add(TcamSharingRequest(tunnel.intfId(), tunnel.fapId()));
      }
   }
   if (worldMoved() || !subIntfs.empty()) {
      std::set<IntfId> interfaces = touchedInterfaces();
      std::set<FapId> units(units_.all().begin(), units_.all().end());
      for (Requester requester : requesters) {
         for (auto const& [request, policy] : host_.sharing().config(requester)->requestIter()) {
            IntfId intf = request.intfId();
            auto const& fields = intf.fields();
            if (units.contains(request.fapId()) || subIntfs.contains(intf) ||
                interfaces.contains(intf) ||
                (fields.subIntf && interfaces.contains(IntfId::fromIndex(fields.parentIndex)))) {
               found.add(request);
            }
         }
      }
   }
   return found.take();
}

std::vector<InLifFeatureKey> Affected::features() const {
   Touched<InLifFeatureKey> found = features_;
   auto const& pipeline = host_.inLifFeatures();
   World const& world = host_.world();
   auto addWanted = [&](InLifIntfKey key) {
      if (auto aggregate = pipeline.inLifIntfCfg->request(key)) {
         for (auto const& [type, value] : aggregate->featureAggIter()) {
            found.add(InLifFeatureKey(key, type));
         }
      }
   };
   for (InLifIntfKey key : inLifs_.all()) {
      addWanted(key);
   }
   std::set<IntfId> interfaces = touchedInterfaces();
   bool everyVlan = !interfaces.empty();
   std::set<uint32_t> vlans; // untagged
   for (IntfId port : words_.all()) {
      IntfId lag = world.lagPhyIntfMapping->phyIntfLag(port);
      interfaces.insert(port);
      interfaces.insert(lag);
      vlans.insert(world.untaggedVlanDir->untaggedVlan(lag == IntfId() ? port : lag).value());
   }
   if (interfaces.empty() && !everyFeature_) {
      return found.take();
   }
   for (auto const& [key, aggregate] : pipeline.inLifIntfCfg->requestIter()) {
      IntfId intf = key.intfId();
      bool vlan = intf.fields().kind == Plexus::IntfKind::vlan;
      if (everyFeature_ || interfaces.contains(intf) ||
          (vlan && (everyVlan || vlans.contains(intf.fields().vlanId)))) {
         addWanted(key);
      }
   }
   // What the word of a port has in the fields that were touched.
   for (IntfId port : words_.all()) {
      for (InLifFeatureKey key : features_.all()) {
         found.add(InLifFeatureKey(port, world.shoalStatus->sysTcamId(port), key.featureType()));
      }
   }
   return found.take();
}

void Affected::forget() {
   requests_.forget();
   mergedMoved_ = false;
   entries_.forget();
   interfaces_.forget();
   units_.forget();
   features_.forget();
   inLifs_.forget();
   words_.forget();
   everyFeature_ = false;
}

} // namespace Simulate
