// The tables of the library against the model's.
#include "simulate/Model.h"
#include "simulate/Tables.h"

namespace Simulate {

using namespace Hardware::ShoalTunnel;

void Model::compareSharing(Findings& findings, SharingPipeline const& pipeline,
                           SharingModel const& model) const {
   auto const& common = *pipeline.commonBase;
   findings.compare("merged policies", model.merged(),
                    read(pipeline.merged->requestCollection(), asIs));
   findings.compare("answers", model.responses(),
                    read(pipeline.mergedStatus->responseCollection(), asIs));
   for (std::size_t i = 0; i < kRequesters; ++i) {
      auto requester = static_cast<Requester>(i);
      findings.compare("requesters' answers", model.part(requester),
                       read(pipeline.sharing.status(requester)->responseCollection(), asIs));
   }
   findings.compare("backlog", model.queued(), read(pipeline.codef->backlogCollection(), asIs));
   findings.compare("retry list", model.retries(), read(common.retryListCollection(), asIs));
   if (!model.processedUnqueued().empty()) {
      findings.add("backlog", model.processedUnqueued(), " was processed, and was not queued");
   }
   if (common.notARealDelete()) {
      findings.add("no real delete", "the flag stands outside a slice");
   }
   if (!pipeline.codef->indicesEqualWalks()) {
      findings.add("indices by interface", "one differs from a walk of what it indexes");
   }
}

void Model::compareIsem(Findings& findings, IsemPipeline const& pipeline) const {
   auto const& common = *pipeline.common;
   findings.compare("output", isem.output(), read(pipeline.outputTable->requestCollection(), asIs));
   findings.compare("shared entries", isem.config(),
                    read(pipeline.table->configCollection(), asIs));
   findings.compare("entries of requests", isem.mapping(),
                    read(common.tcamRequestToIsemKeyMappingCollection(), asIs));
   findings.compare("users of an entry", isem.users(),
                    read(common.semToRequestCollection(), [](auto const& users) {
                       std::set<TcamSharingRequest> requests;
                       for (auto const& [request, present] : users->requestIter()) {
                          requests.insert(request);
                       }
                       return requests;
                    }));
   std::map<IsemModel::WriteKey, std::deque<TcamSharingEntry>> pending;
   for (auto const& [key, queue] : common.pendingSemWriteIter()) {
      for (std::size_t i = 0; i < queue->pendingSharingEntrys(); ++i) {
         pending[{key.semKeyAndFap, key.isInsert}].push_back(queue->pendingSharingEntryQueue()[i]);
      }
   }
   findings.compare("unanswered writes", isem.pending(), pending);
}

void Model::compareMapper(Findings& findings, MapperPipeline const& pipeline) const {
   auto const& common = *pipeline.common;
   auto output = read(pipeline.tagOutput->requestCollection(), asIs);
   output.merge(read(pipeline.tunnelOutput->requestCollection(), asIs));
   findings.compare("output", mapper.output(), output);
   for (auto const& [request, policy] : pipeline.tunnelOutput->requestIter()) {
      if (!MapperModel::isTunnel(request)) {
         findings.add("output", request, " is among the tunnels");
      }
   }
   findings.compare("mapper entries", mapper.data(),
                    read(pipeline.mapperConfig->configCollection(), data));
   findings.compare("unanswered mapper writes", mapper.pending(),
                    read(common.pendingLifEntriesCollection(), asIs));
   findings.compare("answers awaited", mapper.awaited(),
                    read(common.tcamSharingEntryRefCountCollection(), asIs));
   findings.compare("errors of members", mapper.errors(),
                    read(common.vtagToVsiStatusErrorTypeCollection(), number));
   findings.compare(
       "confirmed mapper entries", mapper.confirmed(),
       read(common.tcamRequestToVlanTagToVsiKeyMappingCollection(), [](auto const& mapping) {
          std::set<VlanTagToVsiMapperKey> keys;
          for (auto const& [key, present] : mapping->vtagToVsiMapperKeyIter()) {
             keys.insert(key);
          }
          return keys;
       }));
   findings.compare("tunnel entries", mapper.tunnels(),
                    read(pipeline.tunnelConfig->configCollection(), data));
   findings.compare("unanswered tunnel writes", mapper.pendingTunnels(),
                    read(common.pendingTunnelLifEntriesCollection(), asIs));
}

void Model::compareFeatures(Findings& findings, FeaturePipeline const& pipeline) const {
   WordModel const& words = features.words();
   findings.compare("features asked for", features.asked(),
                    read(pipeline.inLifIntfCfg->requestCollection(), aggregate));
   findings.compare("features handled", features.handled(),
                    read(pipeline.inLifIntfStatus->responseCollection(), aggregate));
   findings.compare("features of ports", words.expanded(),
                    read(pipeline.inLifIntfCfgLagExp->requestCollection(), aggregate));
   std::map<InLifFeatureKey, InLifFeatureResponse> answers;
   for (auto const& [key, given] : features.answers()) {
      answers[key] = {key, given.value,
                      given.success ? InLifFeatureResponseStatus::success
                                    : InLifFeatureResponseStatus::failure};
   }
   findings.compare("feature answers", answers,
                    read(pipeline.featureStatus->responseCollection(), asIs));
   findings.compare("words of sub-interfaces", features.subIntfWords(),
                    read(pipeline.subIntfWords->lifFeatureAttrCollection(), word));
   findings.compare("words of ports", words.ofPorts(),
                    read(pipeline.portWords->lifFeatureAttrCollection(), word));
   findings.compare("words of VLANs", words.ofVlans(),
                    read(pipeline.vlanWords->lifFeatureAttrCollection(), word));
   auto merged = words.ofVlans(); // the VLAN's word wins outright
   merged.insert(words.ofPorts().begin(), words.ofPorts().end());
   findings.compare("merged words", merged,
                    read(pipeline.mergedWords->lifFeatureAttrCollection(), word));
}

// A requester sees the answers of both generations as one table: of each unit, those of its own.
void Model::compareRouter(Findings& findings, AgentHost const& host) const {
   for (std::size_t i = 0; i < kRequesters; ++i) {
      auto requester = static_cast<Requester>(i);
      std::map<TcamSharingRequest, TcamSharingResponse> expected;
      for (SharingModel const* model :
           {static_cast<SharingModel const*>(&isem), static_cast<SharingModel const*>(&mapper)}) {
         for (auto const& [request, response] : model->part(requester)) {
            bool arad =
                context.world.shoalStatus->fapType(request.fapId()) == Hardware::Shoal::fapTypeArad;
            if (arad == (model == &isem)) {
               expected[request] = response;
            }
         }
      }
      findings.compare("answers of both generations", expected,
                       read(host.sharing().status(requester)->responseCollection(), asIs));
   }
}

Findings Model::compare(AgentHost const& host) const {
   Findings findings;
   for (std::string const& condition : context.failuresDue) {
      findings.add("an expected failure", "the library went on against ", condition);
   }
   compareSharing(findings, host.isem(), isem);
   compareIsem(findings, host.isem());
   compareSharing(findings, host.mapper(), mapper);
   compareMapper(findings, host.mapper());
   compareRouter(findings, host);
   findings.compare("published units", published.units(),
                    read(host.intfToFapIdStatus()->intfToFapCollection(), asIs));
   findings.compare("published VLAN domains", published.domains(),
                    read(host.intfToVlanDomainStatus()->vlanDomainCollection(), asIs));
   compareFeatures(findings, host.inLifFeatures());
   return findings;
}

} // namespace Simulate
