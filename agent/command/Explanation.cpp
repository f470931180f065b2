#include "agent/command/Explainer.h"

#include <set>

namespace Agent {

Explanation explain(Host const& host, TcamSharingRequest request) {
   if (&host.pipelineOf(request) == &host.isem()) {
      return IsemExplainer(host, request).explain();
   }
   return InLifExplainer(host, request).explain();
}

void printExplanation(std::ostream& out, Explanation const& explanation, Format format) {
   if (format == Format::json) {
      Json facts = Json::object();
      for (auto const& [label, text] : explanation.facts) {
         // A label that comes twice (two answers due) becomes a list.
         if (!facts.contains(label)) {
            facts[label] = text;
         } else if (facts[label].is_array()) {
            facts[label].push_back(text);
         } else {
            facts[label] = Json::array({facts[label], text});
         }
      }
      out << Json{{"request", explanation.subject},
                  {"inHardware", explanation.inHardware},
                  {"verdict", explanation.verdict},
                  {"facts", facts}}
                 .dump(-1, ' ', false, Json::error_handler_t::replace)
          << "\n";
      return;
   }
   out << explanation.subject << ": " << explanation.verdict << "\n";
   for (auto const& [label, text] : explanation.facts) {
      out << "  " << label << ": " << text << "\n";
   }
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
