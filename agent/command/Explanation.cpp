#include "agent/command/Explainer.h"

#include <set>

namespace Agent {

Explanation explain(Host const& host, TcamSharingRequest request) {
   if (&host.pipelineOf(request) == &host.isem()) {
      return IsemExplainer(host, request).explain();
   }
   return InLifExplainer(host, request).explain();
}

std::vector<TcamSharingRequest> knownRequests(Host const& host) {
   std::vector<TcamSharingRequest> found;
   std::set<uint32_t> seen;
   auto add = [&](TcamSharingRequest request) {
      if (seen.insert(request.index()).second) {
         found.push_back(request);
      }
   };
   for (std::size_t i = 0; i < kFeatures; ++i) {
      for (auto const& [request, policy] :
           host.features().config(static_cast<Feature>(i))->requestIter()) {
         add(request);
      }
   }
   for (SharingPipeline const* pipeline : host.pipelines()) {
      for (auto const& [request, response] : pipeline->mergedStatus->responseIter()) {
         add(request);
      }
   }
   return found;
}

} // namespace Agent
