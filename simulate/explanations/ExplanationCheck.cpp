#include "simulate/explanations/ExplanationCheck.h"

#include "agent/command/Registry.h"
#include "host/insight/Explanation.h"
#include "simulate/explanations/RequestTruth.h"

#include <set>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

std::string formatProblems(AgentHost& host) {
   std::ostringstream out;
   std::vector<std::string> words{"problems", "--format", "json"};
   Command const& command = commandRegistry().take(words);
   Arguments arguments(words);
   command.run(host, arguments, out);
   return out.str();
}

} // namespace

void ExplanationCheck::check(Findings& findings) const {
   witness_.noteQuietEvents();
   std::set<std::string> listed;
   Json const problems = Json::parse(formatProblems(host_));
   for (auto const& row : problems.at("rows")) {
      listed.insert(row.at("request").get<std::string>());
   }
   Situations situations(host_);
   Leads leads(host_, facts_);
   for (TcamSharingRequest request : knownRequests(host_)) {
      RequestTruth truth(host_, facts_, witness_, leads, request);
      Explanation explanation = explain(situations.of(request), host_);
      for (std::string const& untruth : truth.untruths(explanation)) {
         findings.add("explanations are true", formatRequest(request), ": ", untruth, ", in \"",
                      explanation.verdict, "\"");
      }
      if (listed.contains(formatRequest(request)) == truth.sound()) {
         findings.add("problems are told", formatRequest(request),
                      truth.sound() ? " is a row" : " is no row", ": ", explanation.verdict);
      }
   }
   checkFeatures(findings);
}

} // namespace Simulate
