// The tables of the library, each with the model's, in the order in which findings are told.
#include "simulate/Comparison.h"

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

// What does not hold by itself, beside the tables.
class Condition : public Compared {
 public:
   using Check = std::function<void(Findings&, Extent)>;
   explicit Condition(Check check) : check_(std::move(check)) {}
   void compare(Findings& findings, Extent extent) override { check_(findings, extent); }

 private:
   Check check_;
};

auto policyOf(TcamSharingRequest, SharingModel::Output const& output) {
   return output.policy;
}

template<class Collection>
auto keysOf(Collection const& collection) {
   std::set<typename Collection::Key> keys;
   for (auto const& [key, present] : collection.walk()) {
      keys.insert(key);
   }
   return keys;
}

template<class Collection>
auto sortedKeysOf(Collection const& collection) {
   std::vector<typename Collection::Key> keys;
   for (auto const& [key, present] : collection.walk()) {
      keys.push_back(key);
   }
   std::sort(keys.begin(), keys.end());
   return keys;
}

template<class Collection, class Handler>
std::unique_ptr<Orv::ReactorBase> watchKeys(Collection const& collection, Handler handler) {
   using Key = typename Collection::Key;
   auto watcher = std::make_unique<Watcher<Key>>([handler](Key const&) { handler(); });
   collection.watch(*watcher);
   return watcher;
}

// Writers of an aggregate write its version last.
template<class Handler>
std::unique_ptr<Orv::ReactorBase> watchVersion(InLifIntfFeatureAggr const& aggregate,
                                               Handler handler) {
   auto watcher = std::make_unique<Watcher<>>(handler);
   aggregate.versionAttribute().watch(*watcher);
   return watcher;
}

} // namespace

Comparison::Comparison(AgentHost& host, Model const& model) : host_(host), model_(model) {
   addCondition([this](Findings& findings, Extent) {
      for (std::string const& condition : model_.context.failuresDue) {
         findings.add("an expected failure", "the library went on against ", condition);
      }
   });
   addSharing(host.isem(), model.isem);
   addIsem(host.isem());
   addSharing(host.mapper(), model.mapper);
   addMapper(host.mapper());
   addRouter();
   addPublished();
   addVlanTags(host.vlanTags());
   addFeatures(host.inLifFeatures());
   addChipWords(host.inLifFeatures());
}

void Comparison::compare(Findings& findings, Extent extent) {
   for (auto const& part : parts_) {
      part->compare(findings, extent);
   }
}

void Comparison::intakeBuilt(SharingPipeline const& pipeline) {
   auto& backlog = *backlogs_.at(&pipeline);
   backlog.follow(pipeline.codef->backlogCollection());
   backlog.touchAll();
}

template<class K, class V>
ComparedTable<K, V>& Comparison::add(char const* check) {
   auto table = std::make_unique<ComparedTable<K, V>>(check);
   auto& added = *table;
   parts_.push_back(std::move(table));
   return added;
}

void Comparison::addCondition(std::function<void(Findings&, Extent)> check) {
   parts_.push_back(std::make_unique<Condition>(std::move(check)));
}

void Comparison::addSharing(SharingPipeline const& pipeline, SharingModel const& model) {
   add<TcamSharingRequest, TcamSharingPolicyId>("merged policies")
       .expect(model.merged())
       .read(pipeline.merged->requestCollection());
   add<TcamSharingRequest, TcamSharingResponse>("answers")
       .expect(model.responses())
       .read(pipeline.mergedStatus->responseCollection());
   for (Requester requester : requesters) {
      add<TcamSharingRequest, TcamSharingResponse>("requesters' answers")
          .expect(model.part(requester))
          .read(pipeline.sharing.status(requester)->responseCollection());
   }
   backlogs_[&pipeline] =
       &add<TcamSharingRequest, bool>("backlog")
            .expect(model.queued())
            .readFrom(
                [&]() -> auto const& { return pipeline.codef->backlogCollection(); }, asIs);
   intakeBuilt(pipeline);
   add<TcamSharingEntry, bool>("retry list")
       .expect(model.retries())
       .read(pipeline.commonBase->retryListCollection());
   addCondition([&](Findings& findings, Extent extent) {
      if (!model.processedUnqueued().empty()) {
         findings.add("backlog", model.processedUnqueued(), " was processed, and was not queued");
      }
      if (pipeline.commonBase->notARealDelete()) {
         findings.add("no real delete", "the flag stands outside a slice");
      }
      if (extent != Extent::touched && !pipeline.codef->indicesEqualWalks()) {
         findings.add("indices by interface", "one differs from a walk of what it indexes");
      }
   });
}

void Comparison::addIsem(IsemPipeline const& pipeline) {
   auto const& common = *pipeline.common;
   IsemModel const& isem = model_.isem;
   add<TcamSharingRequest, TcamSharingPolicyId>("output")
       .expect(isem.output(), policyOf)
       .read(pipeline.outputTable->requestCollection());
   add<AradSemKeyAndFap, AradSemPayload>("shared entries")
       .expect(isem.config())
       .read(pipeline.table->configCollection());
   add<TcamSharingRequest, AradSemKeyAndFap>("entries of requests")
       .expect(isem.mapping())
       .read(common.tcamRequestToIsemKeyMappingCollection());
   add<AradSemKeyAndFap, std::set<TcamSharingRequest>>("users of an entry")
       .expect(isem.users())
       .read(common.semToRequestCollection(),
             [](auto const& users) { return keysOf(users->requestCollection()); })
       .followMembers(common.semToRequestCollection(), [](auto const& users, auto handler) {
          return watchKeys(users.requestCollection(), handler);
       });
   add<IsemModel::WriteKey, std::vector<TcamSharingEntry>>("unanswered writes")
       .expect(isem.pending())
       .always(
           [&common](IsemModel::WriteKey const& key) {
              std::vector<TcamSharingEntry> entries;
              if (auto queue = common.pendingSemWrite({key.first, key.second})) {
                 for (std::size_t i = 0; i < queue->pendingSharingEntrys(); ++i) {
                    entries.push_back(queue->pendingSharingEntryQueue()[i]);
                 }
              }
              return entries.empty() ? std::nullopt : std::optional(entries);
           },
           [&common](auto const& visit) {
              for (auto const& [key, queue] : common.pendingSemWriteIter()) {
                 visit({key.semKeyAndFap, key.isInsert});
              }
           });
}

void Comparison::addMapper(MapperPipeline const& pipeline) {
   auto const& common = *pipeline.common;
   MapperModel const& mapper = model_.mapper;
   for (bool tunnels : {false, true}) {
      auto& output = tunnels ? *pipeline.tunnelOutput : *pipeline.tagOutput;
      add<TcamSharingRequest, TcamSharingPolicyId>("output")
          .listen(mapper.output())
          .expectFrom([&mapper, tunnels](TcamSharingRequest const& request) {
             auto row = mapper.output().find(request);
             return row == mapper.output().end() || MapperModel::isTunnel(request) != tunnels
                        ? std::nullopt
                        : std::optional(row->second.policy);
          })
          .read(output.requestCollection());
   }
   add<VlanTagToVsiMapperKey, uint64_t>("mapper entries")
       .expect(mapper.data())
       .read(pipeline.mapperConfig->configCollection(), data);
   add<VlanTagToVsiMapperKey, TcamSharingEntry>("unanswered mapper writes")
       .expect(mapper.pending())
       .read(common.pendingLifEntriesCollection());
   add<TcamSharingEntry, uint32_t>("answers awaited")
       .expect(mapper.awaited())
       .read(common.tcamSharingEntryRefCountCollection());
   add<TcamSharingEntry, uint32_t>("errors of members")
       .expect(mapper.errors())
       .read(common.vtagToVsiStatusErrorTypeCollection(), number);
   auto const& confirmed = common.tcamRequestToVlanTagToVsiKeyMappingCollection();
   add<TcamSharingRequest, std::set<VlanTagToVsiMapperKey>>("confirmed mapper entries")
       .expect(mapper.confirmed())
       .read(confirmed,
             [](auto const& mapping) { return keysOf(mapping->vtagToVsiMapperKeyCollection()); })
       .followMembers(confirmed, [](auto const& mapping, auto handler) {
          return watchKeys(mapping.vtagToVsiMapperKeyCollection(), handler);
       });
   add<TunnelPolicyMapperKey, uint64_t>("tunnel entries")
       .expect(mapper.tunnels())
       .read(pipeline.tunnelConfig->configCollection(), data);
   add<TunnelPolicyMapperKey, TcamSharingEntry>("unanswered tunnel writes")
       .expect(mapper.pendingTunnels())
       .read(common.pendingTunnelLifEntriesCollection());
}

// A requester sees the answers of both generations as one table: of each unit, those of its own.
void Comparison::addRouter() {
   auto const& types = host_.world().shoalStatus;
   for (Requester requester : requesters) {
      auto const& isem = model_.isem.part(requester);
      auto const& mapper = model_.mapper.part(requester);
      add<TcamSharingRequest, TcamSharingResponse>("answers of both generations")
          .listen(isem)
          .listen(mapper)
          .expectFrom([&](TcamSharingRequest const& request) {
             bool arad = types->fapType(request.fapId()) == Hardware::Shoal::fapTypeArad;
             auto const& part = arad ? isem : mapper;
             auto row = part.find(request);
             return row == part.end() ? std::nullopt : std::optional(row->second);
          })
          .read(host_.sharing().status(requester)->responseCollection())
          .touchAllAt(types->fapTypeCollection());
   }
}

void Comparison::addPublished() {
   add<IntfId, FapId>("published units")
       .expect(model_.published.units())
       .read(host_.vlanTags().intfToFapIdStatus->intfToFapCollection());
   add<IntfId, PublishedModel::VlanDomain>("published VLAN domains")
       .expect(model_.published.domains())
       .read(host_.vlanTags().intfToVlanDomainStatus->vlanDomainCollection());
}

void Comparison::addVlanTags(VlanTags const& tags) {
   VlanTagModel const& model = model_.vlanTags;
   auto addPorts = [&](char const* check, auto const& expected, VlanPhyIntfConfig const& config) {
      add<uint16_t, std::vector<IntfId>>(check)
          .large()
          .expect(expected,
                  [](uint16_t, VlanTagModel::Ports const& ports) {
                     return std::vector(ports.begin(), ports.end());
                  })
          .read(config.vlanTagCollection(),
                [](auto const& ports) { return sortedKeysOf(ports->phyIntfCollection()); })
          .followMembers(config.vlanTagCollection(), [](auto const& ports, auto handler) {
             return watchKeys(ports.phyIntfCollection(), handler);
          });
   };
   addPorts("ports of VLANs", model.vlans(), *tags.vlanPhyIntfConfig);
   addPorts("ports of sub-interfaces' tags", model.subIntfTags(), *tags.subIntfTagPhyIntfConfig);
   add<VlanXlateKey, VlanXlate>("meanings of tags")
       .large()
       .expect(model.meanings())
       .read(tags.vlanXlateStatus->vlanXlateCollection());

   using Requests = std::vector<TcamSharingRequest>;
   auto const& entries = model_.isem.users();
   auto const& map = tags.vlanTagMap->vlanTagCollection();
   add<VlanTagKey, Requests>("requests of VLAN tags")
       .large()
       .listen(model.users())
       .listenAs(entries, VlanTags::tagOf)
       .expectFrom([&model, &entries](VlanTagKey const& pair) -> std::optional<Requests> {
          if (pair.fapId.value() <= AradSemKeyAndFap::maxFapId) {
             AradISemKeyTcamSharing fields(Bridging::VlanId(pair.vlanTag), pair.vlanDomain);
             auto found = entries.find(AradSemKeyAndFap(fields.key(), pair.fapId));
             if (found != entries.end()) {
                return Requests(found->second.begin(), found->second.end());
             }
          }
          return model.users().contains(pair) ? std::optional(Requests()) : std::nullopt;
       })
       .read(map, [](auto const& users) { return sortedKeysOf(users->requestCollection()); })
       .followMembers(map, [](auto const& users, auto handler) {
          return watchKeys(users.requestCollection(), handler);
       });
   // Those without a port are compared above.
   using Ports = std::vector<VlanXlateKey>;
   add<VlanTagKey, Ports>("ports of VLAN tags")
       .large()
       .listen(model.users())
       .expectFrom([&model](VlanTagKey const& pair) {
          Ports ports;
          if (auto users = model.users().find(pair); users != model.users().end()) {
             for (auto const& [key, meaning] : users->second) {
                ports.push_back(key);
             }
          }
          return std::optional(ports);
       })
       .readRows(map,
                 [&map](VlanTagKey const& pair) {
                    auto users = map.find(pair);
                    return std::optional(users ? sortedKeysOf((*users)->xlateCollection())
                                               : Ports());
                 })
       .followMembers(map, [](auto const& users, auto handler) {
          return watchKeys(users.xlateCollection(), handler);
       });
   add<VlanTagKey, bool>("collisions of VLAN tags")
       .large()
       .listen(model.users())
       .listenAs(entries, VlanTags::tagOf)
       .expectFrom([&model](VlanTagKey const& pair) {
          return model.collide(pair) ? std::optional(true) : std::nullopt;
       })
       .read(tags.vlanTagMap->collisionCollection());
}

void Comparison::addChipWords(FeaturePipeline const& pipeline) {
   auto wordOf = [](LifFeatureWord each) { return each.value; };
   add<DefaultMappingKey, uint64_t>("words of places")
       .expect(model_.chipWords.ofPlaces())
       .read(pipeline.defaultMappingConfig->configCollection(), wordOf);
   add<SubIntfMappingKey, uint64_t>("words of sub-interfaces in the chip's table")
       .expect(model_.chipWords.ofSubIntfs())
       .read(pipeline.subIntfMappingConfig->configCollection(), wordOf);
}

void Comparison::addFeatures(FeaturePipeline const& pipeline) {
   FeatureModel const& features = model_.features;
   WordModel const& words = features.words();
   auto addAggregates = [&](char const* check, Table<InLifIntfKey, Aggregate> const& expected,
                            auto const& collection) {
      add<InLifIntfKey, Aggregate>(check)
          .expect(expected)
          .read(collection, aggregate)
          .followMembers(collection, [](auto const& member, auto handler) {
             return watchVersion(member, handler);
          });
   };
   addAggregates("features asked for", features.asked(),
                 pipeline.inLifIntfCfg->requestCollection());
   addAggregates("features handled", features.handled(),
                 pipeline.inLifIntfStatus->responseCollection());
   addAggregates("features of ports", words.expanded(),
                 pipeline.inLifIntfCfgLagExp->requestCollection());
   add<InLifFeatureKey, InLifFeatureResponse>("feature answers")
       .expect(features.answers(),
               [](InLifFeatureKey const& key, FeatureModel::Answer const& given) {
                  return InLifFeatureResponse{key, given.value,
                                              given.success ? InLifFeatureResponseStatus::success
                                                            : InLifFeatureResponseStatus::failure};
               })
       .read(pipeline.featureStatus->responseCollection());
   add<InLifIntfKey, uint64_t>("words of sub-interfaces")
       .expect(features.subIntfWords())
       .read(pipeline.subIntfWords->lifFeatureAttrCollection(), word);
   add<IntfId, uint64_t>("words of ports")
       .expect(words.ofPorts())
       .read(pipeline.portWords->lifFeatureAttrCollection(), word);
   add<IntfId, uint64_t>("words of VLANs")
       .expect(words.ofVlans())
       .read(pipeline.vlanWords->lifFeatureAttrCollection(), word);
   add<IntfId, uint64_t>("merged words")
       .listen(words.ofVlans())
       .listen(words.ofPorts())
       .expectFrom([&words](IntfId const& port) -> std::optional<uint64_t> {
          // The VLAN's word wins outright.
          for (auto const* table : {&words.ofVlans(), &words.ofPorts()}) {
             if (auto row = table->find(port); row != table->end()) {
                return row->second;
             }
          }
          return std::nullopt;
       })
       .read(pipeline.mergedWords->lifFeatureAttrCollection(), word);
}

} // namespace Simulate
