#include "simulate/explanations/Leads.h"

#include "host/names/Names.h"

namespace Simulate {

using namespace Hardware::ShoalTunnel;

Leads::Leads(AgentHost const& host, Facts const& facts) : host_(host), facts_(facts) {
   for (SharingPipeline const* pipeline : host.pipelines()) {
      for (auto const& [request, policy] : pipeline->merged->requestIter()) {
         for (PolicyKey const& key : keysOf(request)) {
            requests_[key].push_back(request);
         }
      }
   }
}

std::vector<PolicyKey> Leads::keysOf(TcamSharingRequest request) const {
   std::vector<PolicyKey> keys;
   IntfId intf = request.intfId();
   auto const& fields = intf.fields();
   bool isem = &host_.pipelineOf(request) == &host_.isem();
   auto domain = facts_.domain(intf, request.fapId());
   auto tags = facts_.tags(request);
   if (!isem && fields.kind == Plexus::IntfKind::tunnel) {
      keys.emplace_back(TunnelPolicyMapperKey(intf, request.fapId()));
   } else if (isem) {
      if (domain && tags && tags->inner == 0 && request.fapId().value() <= 128) {
         keys.emplace_back(AradSemKeyAndFap(
             {AradSemKeyType::isemTcamSharing_, tags->outer * 256U + *domain}, request.fapId()));
      }
   } else if (domain && tags && fields.subIntf) {
      auto parent = IntfId::fromIndex(fields.parentIndex);
      if (auto members = facts_.world().lagPhyIntfMapping->lagPhyIntfConfig(parent)) {
         for (auto const& [port, present] : members->phyIntfIter()) {
            if (present && facts_.world().placeOf(port).fapId == request.fapId()) {
               keys.emplace_back(facts_.mapperKey(request, port));
            }
         }
      } else if (fields.kind == Plexus::IntfKind::port) {
         keys.emplace_back(facts_.mapperKey(request, parent));
      }
   }
   return keys;
}

std::vector<TcamSharingRequest> const& Leads::requestsAt(PolicyKey const& key) const {
   static std::vector<TcamSharingRequest> const none;
   auto found = requests_.find(key);
   return found == requests_.end() ? none : found->second;
}

std::vector<TcamSharingRequest> Leads::requestsAt(std::string const& key) const {
   for (auto const& [each, requests] : requests_) {
      if (formatKey(each) == key) {
         return requests;
      }
   }
   return {};
}

} // namespace Simulate
